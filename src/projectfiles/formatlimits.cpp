#include "projectfiles/formatlimits.h"

#include <QCoreApplication>
#include <QVariant>

#include <algorithm>
#include <cmath>

FormatLimits FormatLimits::current()
{
    constexpr double highestRate = 1e13;
    constexpr int mostChannels = 64;
    const QObject* application = QCoreApplication::instance();
    FormatLimits limits;
    const double rate = application->property("maxsamplerate").toDouble();
    if (std::isfinite(rate) && rate >= 1)
        limits.sampleRate = std::min(rate, highestRate);
    const int channels = application->property("maxchannels").toInt();
    if (channels >= 1)
        limits.channels = std::min(channels, mostChannels);
    return limits;
}
