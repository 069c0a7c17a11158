// What all selection tools have in common.
#pragma once

#include "model/ilayerroot.h"
#include "model/iselection.h"
#include "plugins/itoolplugin.h"

#include "optionspage.h"
#include "selectionbox.h"

#include <memory>
#include <optional>
#include <vector>

#include <QPainterPath>
#include <QPointer>

// The gestures. Without modifiers a new shape replaces the selection, Shift adds it, Ctrl subtracts it, both
// intersect; what is held when the button goes down counts. A drag from inside the selection moves it, from
// its edge resizes it, without modifiers only; the selection itself changes when the button goes up, its
// outline follows meanwhile. Escape and leaving the tool drop what was begun.
//
// A tool itself only tells what shape the pointer's way makes. Life as IToolPlugin tells.
class SelectionTool : public IToolPlugin
{
    Q_OBJECT
    Q_INTERFACES(IToolPlugin)

public:
    bool init(const QString& libraryPath, QWidget* mainWindow) override;
    [[nodiscard]] QString groupName() const override;
    QToolButton* toolButton() override;
    QWidget* optionsWidget() override;
    void activate() override;
    void deactivate() override;
    void contextChanged() override;
    bool execute(const MouseEvent& event, QCursor& cursor, QPainterPath& path, QList<ToolControl>& controls,
                 uint32_t flags) override;

Q_SIGNALS:
    void requestMouseEvent();

protected:
    struct Mode
    {
        QString text;
        QString icon; // a resource
    };

    explicit SelectionTool(std::vector<Mode> modes);
    ~SelectionTool() override;

    // --- what a tool tells; called inside execute(), in the order begin, extend (any number), shape ---

    // The button goes down; what was drawn before is forgotten.
    virtual void begin(const MouseEvent& event) = 0;
    // The pointer has moved. Also called between the clicks of a tool that takes several.
    virtual void extend(const MouseEvent& event) = 0;
    // What is selected if it ends here; may be empty.
    virtual QPainterPath shape() = 0;
    // What is drawn over the view meanwhile.
    virtual QPainterPath drawing() { return shape(); }
    // For tools that take several clicks: the button goes down again (`twice`: for the second time of a
    // double click). True when that was the last one.
    virtual bool click(const MouseEvent& event, bool twice);
    // The button goes up: true when the shape is done.
    virtual bool release(const MouseEvent& event);
    // Without a drag, a click beside the selection takes it away; a tool to which a click means something
    // says so here.
    [[nodiscard]] virtual bool clickDraws() const { return false; }
    // The button goes up where it began the shape, after a click or a drag: before the selection changes.
    virtual void pointed(const MouseEvent&, bool /*isClick*/) {}
    // The fade of a shape: samples, Hz. By default that of the options.
    [[nodiscard]] virtual PointD fade();
    // Where a press would draw.
    [[nodiscard]] virtual QCursor drawingCursor(const MouseEvent& event);
    // The page has just been made: the tool adds its own options.
    virtual void addOptions(OptionsPage&) {}
    // What was begun is dropped, and the tool was chosen anew.
    virtual void dropped() {}

    // --- what a tool may ask ---

    // Made when it is first asked for, and anew when the options bar has been deleted with it.
    OptionsPage& page();
    // What can be selected: the band of the signal, time from 0 to the end of the layers or of the view.
    [[nodiscard]] Area limits() const;
    [[nodiscard]] PointD limited(PointD position) const;
    // In shape(), for what takes long: how far it is, 0 to 1. False once the user has cancelled; what shape()
    // answers then changes nothing.
    bool goesOn(double share);
    // What the tools look at: the active layer, or the mix where there is none. May be null.
    [[nodiscard]] ILayerPtr target() const;

private:
    enum class Gesture { None, Draw, Drag, Ignore };
    enum class Operation { Replace, Add, Subtract, Intersect };

    [[nodiscard]] static Operation operationOf(uint32_t modifiers);
    bool pointer(const MouseEvent& event, uint32_t flags);
    bool press(const MouseEvent& event, bool twice);
    bool finishDrawing(const MouseEvent& event, bool isClick);
    bool finishPress(const MouseEvent& event);
    bool finishDrag(const MouseEvent& event);
    bool apply(const QPainterPath& shape);
    bool applyTyped();
    [[nodiscard]] Area draggedTo(const MouseEvent& event) const;
    [[nodiscard]] QPainterPath drawn();
    [[nodiscard]] QCursor cursorFor(const MouseEvent& event);
    [[nodiscard]] bool isStale() const;
    void drop();

    std::vector<Mode> m_modes;
    QPointer<QToolButton> m_button;
    QPointer<OptionsPage> m_page;
    Gesture m_gesture = Gesture::None;
    Operation m_operation = Operation::Replace;
    bool m_down = false;
    bool m_moved = false; // since the press, by more than a hand trembles
    MouseEvent m_press;
    MouseEvent m_last;
    std::weak_ptr<ILayer> m_project; // the layers that were there when the button went down
    uint32_t m_grip = selectionbox::GripNone;
    Area m_from;             // bounds of the selection when the drag began
    QPainterPath m_fromPath; // and its border
    Area m_to;               // where it is dragged
    bool m_cancelled = false;
};
