// Groups, the root of the tree, merges.
#include "model/layergroup.h"

#include "model/layerroot.h"
#include "model/merge.h"
#include "model/modeltest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include <QCoreApplication>
#include <QVariant>

using namespace modeltest;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

LayerPtr dc(float value, int64_t start, int64_t length)
{
    return layerOf(realFormat(), std::vector<float>(std::size_t(length), value), start);
}

LayerGroupPtr groupOf(const QList<ILayerPtr>& children)
{
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    for (const ILayerPtr& child : children)
        EXPECT_TRUE(group->appendChild(child));
    return group;
}

// --- the list --------------------------------------------------------------------------------------

TEST(LayerGroupTree, ChildOfAnotherFormatIsRefusedByAllThreeWaysToAdd)
{
    const LayerGroupPtr group = LayerGroup::create(realFormat(2));
    const int64_t stamp = group->contentTime();
    SamplingFormat mask = realFormat(2);
    mask.channelsMask = 12;
    SamplingFormat type = realFormat(2);
    type.channelsType = ChannelsTypeEcg;
    for (const SamplingFormat& format : {realFormat(1), complexFormat(2), realFormat(2, 44100), mask, type}) {
        const LayerPtr child = Layer::create(format);
        EXPECT_FALSE(group->insertChild(0, child));
        EXPECT_FALSE(group->prependChild(child));
        EXPECT_FALSE(group->appendChild(child));
        EXPECT_FALSE(group->insertChildAt(0, child));
        EXPECT_FALSE(group->prependChildLayer(child));
        EXPECT_FALSE(group->appendChildLayer(child));
    }
    EXPECT_TRUE(group->isEmpty());
    EXPECT_EQ(group->contentTime(), stamp);
}

TEST(LayerGroupTree, NullAChildAlreadyThereAndCirclesAreRefused)
{
    const LayerGroupPtr outer = LayerGroup::create(realFormat());
    const LayerGroupPtr middle = LayerGroup::create(realFormat());
    const LayerGroupPtr inner = LayerGroup::create(realFormat());
    EXPECT_TRUE(outer->appendChild(middle));
    EXPECT_TRUE(middle->appendChild(inner));
    EXPECT_FALSE(outer->appendChild(nullptr));
    EXPECT_FALSE(outer->appendChild(middle));
    EXPECT_FALSE(outer->appendChild(outer));
    EXPECT_FALSE(inner->appendChild(outer));
    EXPECT_FALSE(middle->appendChild(outer));
}

TEST(LayerGroupTree, OrderOfChildren)
{
    QList<ILayerPtr> layers;
    for (int i = 0; i < 4; ++i)
        layers << Layer::create(realFormat());
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    EXPECT_TRUE(group->appendChild(layers[0]));
    EXPECT_TRUE(group->prependChild(layers[1]));
    EXPECT_TRUE(group->insertChild(1, layers[2]));
    EXPECT_TRUE(group->insertChild(99, layers[3]));
    EXPECT_EQ(group->children(0), (QList<ILayerPtr>{layers[1], layers[2], layers[0], layers[3]}));
    EXPECT_TRUE(group->moveChild(3, 0));
    EXPECT_EQ(group->children(0), (QList<ILayerPtr>{layers[3], layers[1], layers[2], layers[0]}));
    EXPECT_FALSE(group->moveChild(4, 0));
    EXPECT_FALSE(group->moveChild(0, -1));
    EXPECT_EQ(group->childrenStd(0).size(), 4u);
    EXPECT_EQ(std::dynamic_pointer_cast<Layer>(layers[2])->parent(), group);
    EXPECT_TRUE(group->removeChild(layers[2]));
    EXPECT_FALSE(group->removeChild(layers[2]));
    EXPECT_EQ(std::dynamic_pointer_cast<Layer>(layers[2])->parent(), nullptr);
    EXPECT_EQ(group->children(0).size(), 3);
}

TEST(LayerGroupTree, RemovingNullEmptiesTheGroupAndStampsTheContentTime)
{
    const LayerPtr a = Layer::create(realFormat());
    const LayerGroupPtr group = groupOf({a, Layer::create(realFormat())});
    const int64_t stamp = group->contentTime();
    EXPECT_TRUE(group->removeChild(nullptr));
    EXPECT_TRUE(group->isEmpty());
    EXPECT_GT(group->contentTime(), stamp);
    EXPECT_EQ(a->parent(), nullptr);
    EXPECT_FALSE(group->removeChild(nullptr));
}

TEST(LayerGroupTree, AddingStampsTheContentTimeOnlyUnderAnExternalHost)
{
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    int64_t stamp = group->contentTime();
    EXPECT_TRUE(group->appendChild(Layer::create(realFormat())));
    EXPECT_EQ(group->contentTime(), stamp);
    QCoreApplication::instance()->setProperty("externalmanagement", true);
    EXPECT_TRUE(group->appendChild(Layer::create(realFormat())));
    EXPECT_GT(group->contentTime(), stamp);
    stamp = group->contentTime();
    EXPECT_TRUE(group->prependChild(Layer::create(realFormat())));
    EXPECT_GT(group->contentTime(), stamp);
    stamp = group->contentTime();
    EXPECT_TRUE(group->insertChild(1, Layer::create(realFormat())));
    EXPECT_GT(group->contentTime(), stamp);
    QCoreApplication::instance()->setProperty("externalmanagement", QVariant());
}

TEST(LayerGroupTree, ModeOneLeavesOutTheMembersOfAClosedGroupButNotTheGroup)
{
    const LayerPtr a = Layer::create(realFormat()), b = Layer::create(realFormat()),
                   c = Layer::create(realFormat());
    const LayerGroupPtr closed = groupOf({a});
    const LayerGroupPtr open = groupOf({b});
    EXPECT_TRUE(closed->setOpen(false));
    EXPECT_FALSE(closed->isOpen());
    EXPECT_TRUE(open->isOpen());
    const LayerGroupPtr top = groupOf({closed, open, c});
    EXPECT_EQ(top->children(ChildrenDirect), (QList<ILayerPtr>{closed, open, c}));
    EXPECT_EQ(top->children(ChildrenOpen), (QList<ILayerPtr>{closed, open, b, c}));
    EXPECT_EQ(top->children(ChildrenAll), (QList<ILayerPtr>{closed, a, open, b, c}));
}

TEST(LayerGroupTree, ContainsAndPath)
{
    const LayerPtr leaf = Layer::create(realFormat()), overlay = Layer::create(realFormat());
    const LayerGroupPtr inner = groupOf({Layer::create(realFormat()), leaf});
    const LayerGroupPtr outer = groupOf({Layer::create(realFormat()), inner});
    leaf->setAttached(overlay);
    EXPECT_TRUE(outer->contains(inner, false));
    EXPECT_FALSE(outer->contains(leaf, false));
    EXPECT_TRUE(outer->contains(leaf, true));
    EXPECT_TRUE(outer->contains(overlay, true));
    EXPECT_FALSE(outer->contains(outer, true));
    EXPECT_EQ(outer->pathTo(outer), QList<ILayerPtr>{outer});
    EXPECT_EQ(outer->pathTo(leaf), (QList<ILayerPtr>{outer, inner, leaf}));
    EXPECT_EQ(outer->pathTo(overlay), (QList<ILayerPtr>{outer, inner, overlay, leaf}));
    EXPECT_TRUE(inner->pathTo(outer).isEmpty());
}

TEST(LayerGroupTree, TwoHundredThousandNestedGroupsDieWithoutRecursion)
{
    std::weak_ptr<ILayer> deepest;
    {
        const LayerGroupPtr top = LayerGroup::create(realFormat());
        LayerGroupPtr at = top;
        for (int i = 0; i < 200000; ++i) {
            const LayerGroupPtr next = LayerGroup::create(realFormat());
            ASSERT_TRUE(at->appendChild(next));
            at->resetBackup(ChildrenDirect); // its snapshot holds the child too
            at = next;
        }
        deepest = at;
    }
    EXPECT_TRUE(deepest.expired());
}

TEST(LayerGroupTree, HistoryOfGroupsDiesWithoutRecursion)
{
    std::weak_ptr<ILayer> last;
    {
        LayerGroupPtr at = LayerGroup::create(realFormat());
        for (int i = 0; i < 100000; ++i) { // each holds the one before in a record only
            const LayerGroupPtr next = LayerGroup::create(realFormat());
            ASSERT_TRUE(next->appendChild(at));
            next->resetBackup(ChildrenDirect);
            ASSERT_TRUE(next->removeChild(at));
            ASSERT_FALSE(next->commitRecord().isEmpty());
            if (i == 0)
                last = at;
            at = next;
        }
        EXPECT_FALSE(last.expired());
    }
    EXPECT_TRUE(last.expired());
}

TEST(LayerGroupTree, ParentIsAWeakReference)
{
    const LayerPtr child = Layer::create(realFormat());
    std::weak_ptr<ILayer> group;
    {
        const LayerGroupPtr holder = groupOf({child});
        group = holder;
        EXPECT_EQ(child->parent(), holder);
    }
    EXPECT_TRUE(group.expired());
    EXPECT_EQ(child->parent(), nullptr);
}

// --- the mix ---------------------------------------------------------------------------------------

TEST(LayerGroupMix, EmptyGroupIsSilentAndLeavesTheOutputWithoutOverwrite)
{
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    EXPECT_EQ(group->type(), LayerTypeGroup);
    EXPECT_TRUE(group->isEmpty());
    EXPECT_EQ(group->range(), (Range{0, 0}));
    EXPECT_EQ(group->range(true), (Range{0, 0}));
    EXPECT_EQ(group->filePath(), QString());
    std::vector<float> out(8, 3.0f);
    group->read(out.data(), {5, 8}, -1, false);
    EXPECT_THAT(out, Each(3.0f));
    group->read(out.data(), {5, 8}, 0, true);
    EXPECT_THAT(out, Each(0.0f));
}

TEST(LayerGroupMix, WithOneSoloADisabledSoloChildSoundsAndEnabledOthersDoNot)
{
    const LayerPtr a = dc(1, 0, 4), b = dc(10, 0, 4), c = dc(100, 0, 4);
    const LayerGroupPtr group = groupOf({a, b, c});
    EXPECT_THAT(samplesOf(*group, {0, 4}), Each(111.0f));
    b->setEnabled(false);
    EXPECT_THAT(samplesOf(*group, {0, 4}), Each(101.0f));
    EXPECT_FALSE(group->hasSolo());
    b->setSolo(true);
    EXPECT_TRUE(group->hasSolo());
    EXPECT_THAT(samplesOf(*group, {0, 4}), Each(10.0f));
}

TEST(LayerGroupMix, SoloDeepInAGroupSilencesTheOthersAtEachLevel)
{
    const LayerPtr a = dc(1, 0, 4), b = dc(10, 0, 4), c = dc(100, 0, 4);
    const LayerGroupPtr inner = groupOf({b, c});
    const LayerGroupPtr outer = groupOf({a, inner});
    inner->setEnabled(false);
    c->setSolo(true);
    EXPECT_THAT(samplesOf(*outer, {0, 4}), Each(100.0f));
    EXPECT_TRUE(outer->hasSolo());
}

TEST(LayerGroupMix, AttachedLayerIsReadOnTopOnRequest)
{
    const LayerGroupPtr group = groupOf({dc(1, 0, 4)});
    group->setAttached(dc(5, 2, 6));
    EXPECT_THAT(samplesOf(*group, {0, 4}), Each(1.0f));
    std::vector<float> out(4);
    group->read(out.data(), {0, 4}, -1, true, true, 2.0f);
    EXPECT_THAT(out, ElementsAre(2, 2, 12, 12));
    EXPECT_EQ(group->range(), (Range{0, 4}));
    EXPECT_EQ(group->range(true), (Range{0, 8}));
}

TEST(LayerGroupMix, OffsetAndScalesApplyAboutTheStartOfTheChildren)
{
    const LayerGroupPtr group = groupOf({layerOf(realFormat(), ramp(10), 100), dc(0, 105, 20)});
    group->setTimeOffset(7);
    EXPECT_EQ(group->range(), (Range{107, 25}));
    EXPECT_THAT(samplesOf(*group, {107, 3}), ElementsAre(1, 2, 3));
    group->setScale(2, 0.5f);
    EXPECT_EQ(group->range(), (Range{107, 50}));
    // (113 - 100 - 7) / 2 + 100 = 103: the fourth sample, at half gain.
    EXPECT_THAT(samplesOf(*group, {113, 2}), ElementsAre(2, 2.5f));
    std::vector<float> out(2, 10.0f);
    group->read(out.data(), {113, 2}, 0, false, false, 2.0f);
    EXPECT_THAT(out, ElementsAre(14, 15));
}

// Random trees against the definition, in double precision.
struct Tree
{
    explicit Tree(uint32_t seed) : random(seed) {}
    double number(double low, double high)
    {
        return std::uniform_real_distribution<double>(low, high)(random);
    }
    int whole(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); }

    LayerPtr make(int depth, const SamplingFormat& format)
    {
        LayerPtr layer;
        if (depth > 0 && whole(0, 2) > 0) {
            const LayerGroupPtr group = LayerGroup::create(format);
            for (int i = whole(0, 4); i > 0; --i)
                EXPECT_TRUE(group->appendChild(make(depth - 1, format)));
            layer = group;
        } else {
            layer = Layer::create(format, {}, 0, false);
            std::vector<float> values(std::size_t(whole(0, 300) * format.frameBytes() / 4));
            for (float& value : values)
                value = float(number(-1, 1));
            EXPECT_TRUE(layer->write(
                values.data(), {whole(0, 300), int64_t(values.size()) * 4 / format.frameBytes()}, -1, true));
        }
        layer->setEnabled(whole(0, 3) > 0);
        layer->setSolo(whole(0, 9) == 0);
        layer->setPolarity(whole(0, 1) ? 1 : -1);
        layer->setMultiplier(float(number(0, 2)));
        if (whole(0, 3) == 0)
            layer->setScale(1, float(number(0.1, 2)));
        return layer;
    }

    std::mt19937 random;
};

bool anySolo(const ILayer& layer)
{
    for (const ILayerPtr& child : layer.children(ChildrenAll))
        if (child->solo())
            return true;
    return false;
}

std::vector<double> definition(const ILayer& layer, const Range& range)
{
    std::vector<double> mix(std::size_t(range.length * layer.format().frameBytes() / 4));
    if (layer.type() == LayerTypeLayer) {
        const std::vector<float> own = samplesOf(layer, range);
        return {own.begin(), own.end()};
    }
    const bool solo = anySolo(layer);
    for (const ILayerPtr& child : layer.children(ChildrenDirect)) {
        if (solo ? !(child->solo() || anySolo(*child)) : !child->enabled())
            continue;
        const double gain =
            double(child->polarity()) * double(child->multiplier()) * double(layer.scale().second);
        const std::vector<double> part = definition(*child, range);
        for (std::size_t i = 0; i < mix.size(); ++i)
            mix[i] += gain * part[i];
    }
    return mix;
}

TEST(LayerGroupMix, RandomTreesReadAsTheDefinitionSays)
{
    for (uint32_t seed = 1; seed <= 300; ++seed) {
        Tree tree(seed);
        const SamplingFormat format =
            seed % 2 ? realFormat(tree.whole(1, 3)) : complexFormat(tree.whole(1, 3));
        const LayerGroupPtr group = LayerGroup::create(format);
        for (int i = 0; i < 4; ++i)
            ASSERT_TRUE(group->appendChild(tree.make(3, format)));
        const Range range{tree.whole(-50, 300), tree.whole(1, 400)};
        const std::vector<double> expected = definition(*group, range);
        const std::vector<float> mix = samplesOf(*group, range);
        for (std::size_t i = 0; i < mix.size(); ++i)
            ASSERT_NEAR(mix[i], expected[i], 1e-5) << "seed " << seed << " at " << i;
        // One channel is that part of the whole; adding is adding.
        const int channel = tree.whole(0, format.channels - 1);
        std::vector<float> one(std::size_t(range.length * format.sampleType), 1.0f);
        group->read(one.data(), range, channel, false, false, 0.5f);
        for (std::size_t i = 0; i < one.size(); ++i) {
            const std::size_t type = std::size_t(format.sampleType);
            const std::size_t place =
                (i / type * std::size_t(format.channels) + std::size_t(channel)) * type + i % type;
            ASSERT_NEAR(one[i], 1 + 0.5 * expected[place], 1e-5) << "seed " << seed;
        }
    }
}

// --- on every child --------------------------------------------------------------------------------

TEST(LayerGroupSpan, ChangesOfTheSpanReachEveryChild)
{
    const LayerPtr a = layerOf(realFormat(), ramp(10)), b = layerOf(realFormat(), ramp(10), 20);
    const LayerGroupPtr group = groupOf({groupOf({a}), b});
    group->insertTime({5, 10});
    EXPECT_EQ(a->range(), (Range{0, 20}));
    EXPECT_EQ(b->range(), (Range{30, 10}));
    group->deleteTime({5, 10});
    EXPECT_EQ(a->range(), (Range{0, 10}));
    EXPECT_EQ(b->range(), (Range{20, 10}));
    group->moveBy(3);
    EXPECT_EQ(group->range(), (Range{3, 30}));
    group->cropTo({5, 20});
    EXPECT_EQ(a->range(), (Range{5, 8}));
    EXPECT_EQ(b->range(), (Range{23, 2}));
    group->setRange({6, 4});
    EXPECT_EQ(a->range(), (Range{6, 4}));
    EXPECT_EQ(b->range(), (Range{6, 4}));
    group->clear();
    EXPECT_EQ(group->range(), (Range{0, 0}));
    EXPECT_EQ(group->children(0).size(), 2);
}

TEST(LayerGroupSpan, GroupHasNoSamplesOfItsOwn)
{
    const LayerGroupPtr group = groupOf({});
    const std::vector<float> in{1, 2};
    EXPECT_FALSE(group->write(in.data(), {0, 2}, 0, true));
    group->extendTo({0, 10});
    group->replaceBy(dc(1, 0, 3), true);
    group->stretch(2);
    EXPECT_EQ(group->range(), (Range{0, 0}));
    EXPECT_EQ(sessionFiles().size(), 0);
}

TEST(LayerGroupSpan, ANewNameOfTheFormatReachesAllChildren)
{
    const LayerPtr empty = Layer::create(realFormat()), full = dc(1, 0, 4);
    const LayerGroupPtr group = groupOf({empty, groupOf({full})});
    SamplingFormat renamed = realFormat();
    renamed.channelsMask = 4;
    std::vector<int> steps;
    EXPECT_TRUE(group->changeFormat(renamed, Matrix(1, 1), [&](int done, int total) {
        EXPECT_EQ(total, 2);
        steps.push_back(done);
        return true;
    }));
    EXPECT_THAT(steps, ElementsAre(1, 2));
    for (const ILayerPtr& layer : group->children(ChildrenAll))
        EXPECT_EQ(layer->format(), renamed);
    EXPECT_EQ(group->format(), renamed);
    full->clear();
    EXPECT_TRUE(group->changeFormat(realFormat(2, 8000), Matrix(), {}));
    EXPECT_EQ(full->format(), realFormat(2, 8000));
}

// --- copies and undo -------------------------------------------------------------------------------

TEST(LayerGroupUndo, RecordIsTheChildListAndTheOpenFlag)
{
    const LayerPtr a = dc(1, 0, 4), b = dc(2, 0, 4);
    const LayerGroupPtr group = groupOf({a});
    group->resetBackup(ChildrenDirect);
    const QStringList files = sessionFiles();
    ASSERT_TRUE(group->appendChild(b));
    group->setOpen(false);
    const LayerRecord added = group->commitRecord();
    ASSERT_TRUE(group->removeChild(a));
    const LayerRecord removed = group->commitRecord();
    EXPECT_EQ(sessionFiles(), files); // no samples are copied
    group->applyRecord(removed, 0);
    EXPECT_EQ(group->children(0), (QList<ILayerPtr>{a, b}));
    EXPECT_FALSE(group->isOpen());
    EXPECT_EQ(a->parent(), group);
    group->applyRecord(added, 0);
    EXPECT_EQ(group->children(0), QList<ILayerPtr>{a});
    EXPECT_TRUE(group->isOpen());
    EXPECT_EQ(b->parent(), nullptr);
    EXPECT_TRUE(group->records().isEmpty());
    group->applyRecord(added, 1);
    group->applyRecord(removed, 1);
    EXPECT_EQ(group->children(0), QList<ILayerPtr>{b});
    EXPECT_EQ(group->records().size(), 2);
    ASSERT_TRUE(group->appendChild(a));
    group->resetToBackup();
    EXPECT_EQ(group->children(0), QList<ILayerPtr>{b});
}

TEST(LayerGroupUndo, ResetBackupDescendsByMode)
{
    const LayerPtr a = dc(1, 0, 4), b = dc(2, 0, 4);
    const LayerGroupPtr closed = groupOf({a});
    closed->setOpen(false);
    const LayerGroupPtr top = groupOf({closed, b});
    const auto touch = [&] {
        const float value = 9;
        EXPECT_TRUE(a->write(&value, {0, 1}, 0, true));
        EXPECT_TRUE(b->write(&value, {0, 1}, 0, true));
    };
    touch();
    top->resetBackup(ChildrenDirect);
    EXPECT_FALSE(a->changedRange().isEmpty());
    EXPECT_FALSE(b->changedRange().isEmpty());
    top->resetBackup(ChildrenOpen);
    EXPECT_FALSE(a->changedRange().isEmpty());
    EXPECT_TRUE(b->changedRange().isEmpty());
    touch();
    top->setOpen(false);
    top->resetBackup(ChildrenOpen);
    EXPECT_FALSE(b->changedRange().isEmpty());
    top->resetBackup(ChildrenAll);
    EXPECT_TRUE(a->changedRange().isEmpty());
    EXPECT_TRUE(b->changedRange().isEmpty());
}

TEST(LayerGroupUndo, CopiesHaveCopiesOfAllChildren)
{
    const LayerPtr a = layerOf(realFormat(), ramp(10)), b = layerOf(realFormat(), ramp(10), 20);
    const LayerGroupPtr inner = groupOf({b});
    inner->setOpen(false);
    inner->setName("inner");
    const LayerGroupPtr group = groupOf({a, inner});
    const LayerPtr clone = group->clone(true);
    EXPECT_EQ(clone->type(), LayerTypeGroup);
    EXPECT_TRUE(clone->hasBackup());
    EXPECT_EQ(samplesOf(*clone, {0, 30}), samplesOf(*group, {0, 30}));
    const QList<ILayerPtr> all = clone->children(ChildrenAll);
    ASSERT_EQ(all.size(), 3);
    EXPECT_NE(all[0], a);
    EXPECT_EQ(all[1]->name(), QStringLiteral("inner"));
    EXPECT_FALSE(all[1]->isOpen());
    EXPECT_TRUE(all[2]->hasBackup());
    Range part{5, 20};
    const LayerPtr copy = group->copy(part, false);
    EXPECT_EQ(part, (Range{5, 20}));
    EXPECT_EQ(copy->children(0)[0]->range(), (Range{5, 5}));
    EXPECT_EQ(copy->children(0)[1]->range(), (Range{20, 5}));
    EXPECT_FALSE(copy->children(0)[0]->hasBackup());
}

TEST(LayerGroupUndo, CopyFromAGroupTakesItsChildList)
{
    const LayerPtr a = dc(1, 0, 4), b = dc(2, 0, 4);
    const LayerGroupPtr target = groupOf({a});
    const LayerGroupPtr source = groupOf({b});
    source->setOpen(false);
    source->setMultiplier(2);
    const int64_t stamp = target->contentTime();
    target->copyFromLayer(source, {0, 2}, false);
    EXPECT_GT(target->contentTime(), stamp);
    EXPECT_THAT(samplesOf(*a, {0, 4}), ElementsAre(2, 2, 1, 1));
    EXPECT_EQ(target->children(0), QList<ILayerPtr>{b});
    EXPECT_FALSE(target->isOpen());
    EXPECT_EQ(target->multiplier(), 1.0f);
    target->copyFromLayer(source, {0, 2}, true);
    EXPECT_EQ(target->multiplier(), 2.0f);
    target->copyFromLayer(nullptr, {0, 2}, true);
    target->copyFromLayer(a, {0, 2}, false);
    EXPECT_EQ(target->children(0), QList<ILayerPtr>{b});
}

// --- the root --------------------------------------------------------------------------------------

TEST(LayerRootTest, ThreeNodesWithTheirNames)
{
    const LayerRoot root(realFormat(2));
    const QStringList names{QStringLiteral("ActivePreview"), QStringLiteral("Temporary"),
                            QStringLiteral("Project")};
    for (int i = 0; i < 3; ++i) {
        const ILayerPtr node = root.layer(i);
        EXPECT_EQ(node->name(), names[i]);
        EXPECT_EQ(node->format(), realFormat(2));
        EXPECT_TRUE(node->enabled());
        EXPECT_FALSE(node->solo());
        EXPECT_EQ(node->polarity(), 1);
        EXPECT_EQ(node->multiplier(), 1.0f);
        EXPECT_EQ(node->color(), 0xffffffffu);
        EXPECT_EQ(node->filePath(), QString());
        EXPECT_EQ(node->type(), i == 2 ? LayerTypeGroup : LayerTypeLayer);
        EXPECT_EQ(root.node(RootNode(i)), node);
    }
    EXPECT_EQ(root.layer(3), nullptr);
    EXPECT_EQ(root.layer(-2), nullptr);
    EXPECT_EQ(root.layer(-1), nullptr);
}

TEST(LayerRootTest, CopiesShareTheActiveLayer)
{
    LayerRoot root(realFormat());
    const LayerPtr layer = Layer::create(realFormat());
    LayerRoot copy = root;
    EXPECT_TRUE(copy.setActive(layer));
    EXPECT_FALSE(copy.setActive(layer));
    EXPECT_EQ(root.layer(-1), layer);
    EXPECT_EQ(root.layer(2), copy.layer(2));
    EXPECT_TRUE(root.setActive(nullptr));
    EXPECT_EQ(copy.layer(-1), nullptr);
}

// A stand-in for a window on another layer.
class WindowOn : public Layer
{
public:
    WindowOn(const LayerPtr& source) : Layer(Key(), source->format(), {}, 0), m_source(source) {}
    int32_t type() const override { return LayerTypeRegion; }
    LayerPtr source() const override { return m_source; }

private:
    LayerPtr m_source;
};

TEST(LayerRootTest, AllLayersAreTheTreeAndTheSourcesOfItsRegions)
{
    LayerRoot root(realFormat());
    const LayerPtr a = Layer::create(realFormat()), hidden = Layer::create(realFormat());
    const auto first = std::make_shared<WindowOn>(hidden), second = std::make_shared<WindowOn>(hidden);
    const auto onTree = std::make_shared<WindowOn>(a);
    const LayerGroupPtr inner = groupOf({first, a});
    inner->setOpen(false);
    for (const ILayerPtr& layer : QList<ILayerPtr>{inner, second, onTree})
        EXPECT_TRUE(root.project()->appendChild(layer));
    EXPECT_EQ(root.allLayers(), (QList<ILayerPtr>{inner, first, a, second, onTree, hidden}));
}

TEST(LayerRootTest, CloneIsATreeOfItsOwn)
{
    LayerRoot root(realFormat());
    const float value = 5;
    ASSERT_TRUE(root.node(RootTemporary)->write(&value, {0, 1}, 0, true));
    const LayerPtr a = dc(1, 0, 4), b = dc(2, 0, 4);
    const LayerGroupPtr inner = groupOf({a, b});
    EXPECT_TRUE(root.project()->appendChild(inner));
    root.setActive(b);
    const std::optional<LayerRoot> clone = root.clone();
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->layer(-1), clone->layer(2)->children(ChildrenAll)[2]);
    EXPECT_NE(clone->layer(-1), b);
    EXPECT_THAT(samplesOf(*clone->layer(-1), {0, 4}), Each(2.0f));
    EXPECT_FALSE(clone->layer(0)->hasBackup());
    EXPECT_FALSE(clone->layer(1)->hasBackup());
    EXPECT_TRUE(clone->layer(2)->hasBackup());
    EXPECT_TRUE(clone->layer(-1)->hasBackup());
    EXPECT_THAT(samplesOf(*clone->layer(1), {0, 1}), ElementsAre(5));
    root.setActive(nullptr);
    EXPECT_NE(clone->layer(-1), nullptr);
    root.setActive(Layer::create(realFormat())); // outside the tree: no place to map to
    EXPECT_EQ(root.clone()->layer(-1), nullptr);
}

TEST(LayerRootTest, CloneWithoutRoomIsRefusedWithTheCause)
{
    LayerRoot root(realFormat());
    EXPECT_TRUE(root.project()->appendChild(dc(1, 0, 1000)));
    const QStringList files = sessionFiles();
    QString words;
    {
        const DiskLimit limit(2000);
        EXPECT_FALSE(root.clone(&words));
    }
    EXPECT_TRUE(words.contains(sessionFolder())) << words.toStdString();
    EXPECT_EQ(sessionFiles(), files);
    EXPECT_TRUE(root.clone());
}

TEST(LayerRootTest, SetFormatReachesEveryNode)
{
    LayerRoot root;
    root.setFormat(realFormat(3));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(root.layer(i)->format(), realFormat(3));
    EXPECT_EQ(root.format(), realFormat(3));
}

// --- merges ----------------------------------------------------------------------------------------

struct MergeTest : testing::Test
{
    MergeTest() : root(realFormat())
    {
        a->setName("first");
        a->setColor(0x112233);
        b->setPolarity(-1);
        c->setMultiplier(0.5f);
        for (const LayerPtr& layer : {a, b, c})
            EXPECT_TRUE(root.project()->appendChild(layer));
    }
    [[nodiscard]] std::vector<float> heard() const { return samplesOf(*root.layer(2), {0, 20}); }

    LayerPtr a = dc(1, 2, 4), b = dc(10, 4, 6), c = dc(100, 0, 20);
    LayerRoot root;
};

TEST_F(MergeTest, AllBecomesOneLayerWithTheSoundOfTheProject)
{
    b->setEnabled(false);
    const std::vector<float> before = heard();
    const LayerPtr merged = mergeAll(root);
    ASSERT_TRUE(merged);
    EXPECT_EQ(root.project()->children(ChildrenAll), QList<ILayerPtr>{merged});
    EXPECT_EQ(heard(), before);
    EXPECT_EQ(merged->name(), QStringLiteral("first"));
    EXPECT_EQ(merged->color(), 0x112233u);
    EXPECT_TRUE(merged->enabled());
    EXPECT_EQ(merged->multiplier(), 1.0f);
    EXPECT_TRUE(merged->hasBackup());
    EXPECT_TRUE(merged->backup()->isEmpty());
    root.project()->removeChild(nullptr);
    EXPECT_EQ(mergeAll(root), nullptr);
}

TEST_F(MergeTest, MergeIsUndoneByTheRecordOfTheGroup)
{
    root.project()->resetBackup(ChildrenAll);
    const std::vector<float> before = heard();
    const LayerPtr merged = mergeAll(root);
    const LayerRecord record = root.project()->commitRecord();
    const LayerRecord layerRecord = merged->commitRecord();
    merged->applyRecord(layerRecord, 0);
    root.project()->applyRecord(record, 0);
    EXPECT_EQ(root.project()->children(0), (QList<ILayerPtr>{a, b, c}));
    EXPECT_EQ(heard(), before);
    root.project()->applyRecord(record, 1);
    merged->applyRecord(layerRecord, 1);
    EXPECT_EQ(heard(), before);
}

TEST_F(MergeTest, GroupKeepsTheResultAsItsOnlyChild)
{
    const LayerGroupPtr group = groupOf({dc(3, 0, 5), dc(4, 2, 5)});
    group->setMultiplier(0.25f);
    EXPECT_TRUE(root.project()->insertChild(1, group));
    const std::vector<float> before = heard();
    const LayerPtr merged = mergeGroup(group);
    ASSERT_TRUE(merged);
    EXPECT_EQ(group->children(0), QList<ILayerPtr>{merged});
    EXPECT_EQ(heard(), before);
    EXPECT_EQ(mergeGroup(nullptr), nullptr);
    EXPECT_EQ(mergeGroup(groupOf({})), nullptr);
}

TEST_F(MergeTest, VisibleLeavesMutedLayersWhereTheyAre)
{
    a->setEnabled(false);
    const std::vector<float> before = heard();
    const LayerPtr merged = mergeVisible(root);
    ASSERT_TRUE(merged);
    EXPECT_EQ(root.project()->children(0), (QList<ILayerPtr>{a, merged}));
    EXPECT_EQ(heard(), before);
    a->setEnabled(false);
    merged->setEnabled(false);
    EXPECT_EQ(mergeVisible(root), nullptr);
}

TEST_F(MergeTest, DownTakesTheLayerAndTheOneBelow)
{
    const std::vector<float> before = heard();
    const LayerPtr merged = mergeDown(root, b);
    ASSERT_TRUE(merged);
    EXPECT_EQ(root.project()->children(0), (QList<ILayerPtr>{a, merged}));
    EXPECT_EQ(merged->parent(), root.project());
    EXPECT_EQ(heard(), before);
    EXPECT_EQ(mergeDown(root, merged), nullptr); // nothing below
    EXPECT_EQ(mergeDown(root, root.layer(2)), nullptr);
    EXPECT_EQ(mergeDown(root, c), nullptr); // no longer in the tree
    EXPECT_EQ(mergeDown(root, nullptr), nullptr);
}

TEST_F(MergeTest, WithoutRoomNothingChanges)
{
    QString words;
    {
        const DiskLimit limit(8);
        EXPECT_EQ(mergeAll(root, &words), nullptr);
        EXPECT_EQ(mergeVisible(root, nullptr), nullptr);
        EXPECT_EQ(mergeDown(root, a, nullptr), nullptr);
    }
    EXPECT_FALSE(words.isEmpty());
    EXPECT_EQ(root.project()->children(0), (QList<ILayerPtr>{a, b, c}));
}

} // namespace
