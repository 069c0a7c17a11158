// Numbers as the user reads and types them, and frequencies as the views show them.
#pragma once

#include <cstdint>

#include <QString>

// In the units and the frequency scale that are set in the window at the time of the call. Time is in
// sample points, frequency in Hz. GUI thread. The order of the operations is part of the contract with
// plug-ins.
class IConvert
{
public:
    // Hz to the vertical coordinate of the views and back: equal steps of it are equal heights on the
    // screen. 0 and half the sample rate keep their values under each scale.
    [[nodiscard]] virtual double toScale(double hz) const = 0;
    [[nodiscard]] virtual double fromScale(double coordinate) const = 0;
    // Text in the current unit, without the suffix ("Hz", "smp"; may be empty), and back. What does not
    // parse counts as 0.
    [[nodiscard]] virtual QString timeToString(double samples) const = 0;
    [[nodiscard]] virtual int64_t stringToTime(const QString& text) const = 0;
    [[nodiscard]] virtual QString timeSuffix() const = 0;
    [[nodiscard]] virtual QString freqToString(double hz) const = 0;
    [[nodiscard]] virtual double stringToFreq(const QString& text) const = 0;
    [[nodiscard]] virtual QString freqSuffix() const = 0;
    virtual ~IConvert() = default;
};
