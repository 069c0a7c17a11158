// Runs the tool that the user has chosen.
#pragma once

#include "editing/editdesk.h"
#include "model/toolstate.h"

#include <QCursor>
#include <QPainterPath>
#include <QPointer>

class IToolPlugin;
struct ToolControl;

// Hands the pointer's state to the active tool and tells what the tool has changed: document, selection,
// cursor, outline, controls. The document's lock is held for writing meanwhile. A tool that throws is told
// in the log, and what it changed belongs to the next state. GUI thread.
class ToolRunner
{
public:
    ToolRunner(EditDesk& desk, IEvent* listener) : m_desk(desk), m_listener(listener) {}

    void setTool(EventId tool, IToolPlugin* plugin);
    void setMouse(const MouseEvent& event) { m_mouse = event; }
    void setControlId(int32_t id) { m_controlId = id; }
    // ToolPluginActivate, ToolNoneActivate, ...: the id of the event that chose the tool.
    [[nodiscard]] EventId tool() const { return m_tool; }

    // Nothing happens without a plug-in tool, and while a command or process is in work.
    void execute();

private:
    [[nodiscard]] bool call(QList<ToolControl>& controls);
    void tellPictures(const QCursor& cursor, const QPainterPath& path, const QList<ControlPoint>& controls);

    EditDesk& m_desk;
    IEvent* m_listener;
    EventId m_tool = EventId::ToolNoneActivate;
    QPointer<IToolPlugin> m_plugin;
    MouseEvent m_mouse;
    QCursor m_cursor;
    QPainterPath m_path;
    QList<ControlPoint> m_controls;
    int32_t m_controlId = -1;
};
