#include "model/newlayer.h"

#include <algorithm>
#include <limits>

#include <QRegularExpression>

QString nextLayerName(const QString& word, const QList<ILayerPtr>& layers)
{
    static const QRegularExpression lastDigits(QStringLiteral("\\d+(?=\\D*$)"));
    const QString start = word + QLatin1Char(' ');
    qlonglong largest = 0;
    for (const ILayerPtr& layer : layers) {
        const QString name = layer->name();
        if (!name.startsWith(start, Qt::CaseInsensitive))
            continue;
        bool isNumber = false;
        const qlonglong number = lastDigits.match(name).captured().toLongLong(&isNumber);
        if (isNumber && number < std::numeric_limits<qlonglong>::max())
            largest = std::max(largest, number);
    }
    return start + QString::number(largest + 1);
}

const std::vector<uint32_t>& layerPalette()
{
    static const std::vector<uint32_t> colors = {0x4fc3f7, 0xffb74d, 0x81c784, 0xe57373,
                                                 0xba68c8, 0xfff176, 0x4db6ac, 0xf06292};
    return colors;
}

uint32_t nextLayerColor(const QList<ILayerPtr>& layers)
{
    const auto wearers = [&layers](uint32_t color) {
        return std::count_if(layers.begin(), layers.end(),
                             [color](const ILayerPtr& layer) { return layer->color() == color; });
    };
    const std::vector<uint32_t>& all = layerPalette();
    return *std::min_element(all.begin(), all.end(),
                             [&](uint32_t a, uint32_t b) { return wearers(a) < wearers(b); });
}
