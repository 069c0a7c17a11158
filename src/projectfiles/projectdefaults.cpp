#include "projectfiles/projectdefaults.h"

#include "display/scales/colormaps.h"
#include "display/scales/unitwords.h"

#include <QCoreApplication>
#include <QVariant>

#include <algorithm>
#include <cmath>

namespace {

QVariant property(const char* key)
{
    return QCoreApplication::instance()->property(key);
}

bool flag(const char* key)
{
    return property(key).toBool();
}

QString word(const char* key)
{
    return property(key).toString();
}

float number(const char* key, float lowest, float highest, float fallback)
{
    const float value = property(key).toFloat();
    return std::isfinite(value) ? std::clamp(value, lowest, highest) : fallback;
}

int32_t count(const char* key, int32_t lowest, int32_t highest)
{
    return std::clamp(property(key).toInt(), lowest, std::max(lowest, highest));
}

UnitSettings defaultUnits()
{
    UnitSettings units;
    units.timeUnit = timeUnitFromString(word("defaulttimeunit"));
    units.powerUnit = powerUnitFromString(word("defaultpowerunit"));
    units.freqUnit = freqUnitFromString(word("defaultfrequnit"));
    units.freqScale = freqScaleFromString(word("defaultfreqscale"));
    units.filtering = filteringFromString(word("defaultfiltering"));
    return units;
}

DisplaySettings defaultDisplay()
{
    DisplaySettings display;
    display.gridEnable = flag("defaultgridenable");
    display.markersEnable = flag("defaultmarkerenable");
    display.spectralMarkersEnable = flag("defaultspectralmarkerenable");
    display.lockBottomTo0 = flag("defaultlockspectrogram");
    display.lockCenterTo0 = flag("defaultlockwaveform");
    display.snapEnable = flag("defaultsnapenable");
    display.composite = flag("defaultcomposite");
    display.targetActive = flag("defaulttargetactive");
    display.lowDb = number("defaultlowdb", -300, 300, display.lowDb);
    display.highDb = number("defaulthighdb", -300, 300, display.highDb);
    if (display.highDb <= display.lowDb) {
        display.lowDb = DisplaySettings().lowDb;
        display.highDb = DisplaySettings().highDb;
    }
    display.gamma = number("defaultgamma", 0.01f, 100, display.gamma);
    display.selectionOpacity = number("defaultselectionopacity", 0, 1, display.selectionOpacity);
    display.timeSharpen = number("defaultsharpening", 0, 1, 0);
    display.freqSharpen = display.timeSharpen;
    display.colormap = colormapFromString(word("defaultcolormap"));
    display.splitterRatio = number("waveformdisplay", 0, 1, display.splitterRatio);
    return display;
}

// Overlap is counted in frames: the setting counts in multiples of zero padding.
TransformSettings defaultTransform(int32_t sampleType)
{
    const int32_t smallest = count("mintransformsize", 4, 1 << 20);
    const int32_t size =
        count("defaulttransformsize", smallest, count("maxtransformsize", smallest, 1 << 20));
    const int32_t padding = count("defaultoverlap", 1, 16);
    const int32_t overlap = std::min(size, count("timeoverlapratio", 1, 64) * padding);
    return {sampleType, windowTypeFromString(word("defaultwindow")), size, overlap, padding};
}

} // namespace

ProjectPtr makeProject(const SamplingFormat& format)
{
    auto project = std::make_shared<Project>(format);
    project->transform = defaultTransform(format.sampleType);
    project->units = defaultUnits();
    project->display = defaultDisplay();
    return project;
}
