// The selection tools with a gesture each, and the documents and views they are tried on.
#pragma once

#include "addons/toolrig.h"

#include <functional>
#include <memory>
#include <vector>

constexpr double rate = 16000;
constexpr uint32_t shift = Qt::ShiftModifier;
constexpr uint32_t control = Qt::ControlModifier;

// A tool in one of its modes, and a gesture of it from (0.3, 0.3) to (0.6, 0.6) of the view that selects
// something there.
struct ToolCase
{
    const char* plugin;
    uint32_t mode;
    std::function<bool(ToolRig&, uint32_t modifiers)> gesture;
};

[[nodiscard]] const std::vector<ToolCase>& toolCases();

struct View
{
    const char* name;
    bool complex;
    bool near; // zoomed in
    FreqScale scale;
};

// Of real and complex signals, from far and near, and under a bent frequency scale.
[[nodiscard]] const std::vector<View>& views();

// Four seconds: noise, tones at three tenths of the height of the two views, a click every 25 ms.
[[nodiscard]] std::vector<float> scene(const SamplingFormat& format, const std::vector<double>& tones);

// The document and the view of a case.
[[nodiscard]] std::unique_ptr<ToolRig> rigFor(const ToolCase& tool, const View& v);
