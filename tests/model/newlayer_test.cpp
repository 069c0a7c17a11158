// Names and colours of new layers.
#include "model/newlayer.h"

#include "model/layer.h"
#include "model/modeltest.h"

#include <gtest/gtest.h>

#include <set>

namespace {

QList<ILayerPtr> named(const QStringList& names)
{
    QList<ILayerPtr> layers;
    for (const QString& name : names) {
        LayerHeader header;
        header.name = name;
        layers << Layer::create(modeltest::realFormat(), header);
    }
    return layers;
}

QString next(const QStringList& names)
{
    return nextLayerName(QStringLiteral("Layer"), named(names));
}

TEST(NewLayer, TheNamesLayer2AndLayer9xGiveLayer10)
{
    EXPECT_EQ(next({"Layer 2", "layer 9x"}), QStringLiteral("Layer 10"));
}

TEST(NewLayer, ALayerCalledLayeredDoesNotCount)
{
    EXPECT_EQ(next({"Layered", "Layered 7", "Layer7", "My Layer 8"}), QStringLiteral("Layer 1"));
}

TEST(NewLayer, TheLastRunOfDigitsCounts)
{
    EXPECT_EQ(next({"Layer 80 take 3 (copy)"}), QStringLiteral("Layer 4"));
    EXPECT_EQ(next({"Layer none", "Layer "}), QStringLiteral("Layer 1"));
}

TEST(NewLayer, NumbersBeyondAllBoundsAreLeftOut)
{
    EXPECT_EQ(next({"Layer 99999999999999999999", "Layer 9223372036854775807", "Layer 5"}),
              QStringLiteral("Layer 6"));
}

TEST(NewLayer, ColorsOfThePaletteTakeTurns)
{
    QList<ILayerPtr> layers = named({"a"});
    std::set<uint32_t> seen;
    for (std::size_t i = 0; i < layerPalette().size(); ++i) {
        layers << named({"b"});
        layers.last()->setColor(nextLayerColor(layers));
        seen.insert(layers.last()->color());
    }
    EXPECT_EQ(seen, std::set<uint32_t>(layerPalette().begin(), layerPalette().end()));
    layers[3]->setColor(0xffffffff);
    EXPECT_EQ(nextLayerColor(layers), layerPalette()[2]);
}

} // namespace
