#include "addons/toolcases.h"

#include "model/modeltest.h"

#include <cmath>

using namespace modeltest;

namespace {

bool dragAcross(ToolRig& rig, uint32_t modifiers)
{
    return rig.drag(0.3, 0.3, 0.6, 0.6, modifiers);
}

bool clickThere(ToolRig& rig, uint32_t modifiers)
{
    return rig.click(0.3, 0.3, modifiers);
}

bool drawLoop(ToolRig& rig, uint32_t modifiers)
{
    rig.press(0.3, 0.3, modifiers);
    for (int i = 1; i <= 40; ++i) {
        const double angle = i * 2 * 3.14159265358979 / 40;
        rig.moveTo(0.45 - 0.15 * std::cos(angle), 0.3 + 0.25 * std::sin(angle), modifiers);
    }
    return rig.release(0.3, 0.3, modifiers);
}

bool clickCorners(ToolRig& rig, uint32_t modifiers)
{
    for (const auto& [x, y] : {std::pair(0.3, 0.3), std::pair(0.6, 0.35), std::pair(0.5, 0.6)})
        rig.click(x, y, modifiers);
    rig.press(0.3, 0.3, modifiers); // closes it
    // What the press has answered.
    const bool done = rig.path.isEmpty();
    rig.release(0.3, 0.3, modifiers);
    return done;
}

} // namespace

const std::vector<ToolCase>& toolCases()
{
    static const std::vector<ToolCase> cases{
        {"selectcursor", 0, dragAcross}, {"selectmarquee", 0, dragAcross}, {"selectmarquee", 1, dragAcross},
        {"selectlasso", 0, drawLoop},    {"selectlasso", 1, clickCorners}, {"selectlasso", 2, drawLoop},
        {"selectbrush", 0, dragAcross},  {"selectwand", 0, clickThere},    {"selectwand", 1, clickThere},
        {"selectfreq", 0, dragAcross},   {"selectfreq", 1, dragAcross},    {"selecttransient", 0, dragAcross},
    };
    return cases;
}

const std::vector<View>& views()
{
    static const std::vector<View> all{
        {"far", false, false, FreqScale::Linear},        {"near", false, true, FreqScale::Linear},
        {"complex far", true, false, FreqScale::Linear}, {"complex near", true, true, FreqScale::Linear},
        {"mel", false, false, FreqScale::Mel},
    };
    return all;
}

std::vector<float> scene(const SamplingFormat& format, const std::vector<double>& tones)
{
    std::vector<float> samples(size_t(4 * rate) * size_t(format.sampleType));
    addNoise(samples, 0.003, 11);
    for (const double hz : tones)
        addTone(samples, format, hz, 0.2);
    for (size_t i = 100; i < size_t(4 * rate); i += 400)
        samples[i * size_t(format.sampleType)] += 1.0f;
    return samples;
}

std::unique_ptr<ToolRig> rigFor(const ToolCase& tool, const View& v)
{
    const SamplingFormat format = v.complex ? complexFormat(1, rate) : realFormat(1, rate);
    auto rig = std::make_unique<ToolRig>(tool.plugin, format);
    rig->tool->mode = tool.mode;
    rig->units.freqScale = v.scale;
    const double low = v.complex ? -rate / 2 : 0;
    rig->view =
        v.near ? Area{24000, low + 2000, 3200, 500} : Area{0, low, 4 * rate, v.complex ? rate : rate / 2};
    rig->addLayer(scene(format, {rig->at(0.3, 0.3).y}));
    return rig;
}
