// A selection tool with a document and a pointer, without a window.
#pragma once

#include "display/scales/convert.h"
#include "model/layerroot.h"
#include "model/selection.h"
#include "plugins/itoolplugin.h"

#include "addons/toolsignals.h"

#include <memory>
#include <vector>

#include <QCursor>
#include <QPainterPath>
#include <QSignalSpy>
#include <QWidget>

class QDoubleSpinBox;
class QLineEdit;

// Fills the context as the host does and hands over events as a view makes them. The view is `width` by
// `height` pixels and shows `view`. Positions are told as shares of the view, from left and bottom.
class ToolRig : public IConvert
{
public:
    static constexpr double width = 1000;
    static constexpr double height = 500;

    // The plug-in of that name, activated; one instance for the whole program.
    ToolRig(const char* plugin, const SamplingFormat& format);
    ~ToolRig() override;

    // A new layer, the active one.
    LayerPtr addLayer(const std::vector<float>& samples, int64_t start = 0);

    // Where a share of the view lies.
    [[nodiscard]] PointD at(double across, double up) const;
    [[nodiscard]] MouseEvent eventAt(double across, double up, float pressure, uint32_t modifiers);

    // One call of execute() each; what it answered.
    bool press(double across, double up, uint32_t modifiers = 0, uint32_t flags = 0, float pressure = 1);
    bool moveTo(double across, double up, uint32_t modifiers = 0, float pressure = 1); // held
    bool release(double across, double up, uint32_t modifiers = 0);
    bool hover(double across, double up, uint32_t modifiers = 0);
    bool request(uint32_t flags = ToolRequested);
    bool send(const MouseEvent& event, uint32_t flags = 0);
    // Press, moves on the way, release.
    bool drag(double fromX, double fromY, double toX, double toY, uint32_t modifiers = 0, int steps = 8);
    bool click(double across, double up, uint32_t modifiers = 0);
    // Tells the tool that somebody else has changed something.
    void tellContext();

    void select(double fromX, double fromY, double toX, double toY); // shares of the view, hard
    // An option of the page by its object name.
    [[nodiscard]] QDoubleSpinBox& option(const char* name);
    // Types into a number of the selection and presses Return; the tool's request is served.
    bool type(const char* name, const QString& text);
    [[nodiscard]] QString shown(const char* name);

    // Times the tool asked for a call.
    [[nodiscard]] int requests() const { return int(m_asked->count()); }
    void setTransform(int frameSize, int overlap, int padding);

    IToolPlugin* tool = nullptr;
    SamplingFormat format;
    LayerRoot root;
    Selection selection;
    Area view;
    Convert units;
    std::shared_ptr<const Transform> transform;
    int64_t position = 0;
    QCursor cursor;
    QPainterPath path;
    QList<ToolControl> controls;

    [[nodiscard]] double toScale(double hz) const override { return units.toScale(hz); }
    [[nodiscard]] double fromScale(double coordinate) const override { return units.fromScale(coordinate); }
    [[nodiscard]] QString timeToString(double samples) const override { return units.timeToString(samples); }
    [[nodiscard]] int64_t stringToTime(const QString& text) const override
    {
        return units.stringToTime(text);
    }
    [[nodiscard]] QString timeSuffix() const override { return units.timeSuffix(); }
    [[nodiscard]] QString freqToString(double hz) const override { return units.freqToString(hz); }
    [[nodiscard]] double stringToFreq(const QString& text) const override { return units.stringToFreq(text); }
    [[nodiscard]] QString freqSuffix() const override { return units.freqSuffix(); }

private:
    void fill();

    MouseEvent m_last;
    QWidget* m_page = nullptr;
    std::unique_ptr<QSignalSpy> m_asked;
    std::unique_ptr<TestSpectra> m_spectra;
};
