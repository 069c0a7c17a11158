// Runs the tool that the user has chosen.
#pragma once

#include "editing/editdesk.h"
#include "editing/editprogress.h"
#include "model/toolstate.h"
#include "plugins/itoolplugin.h"

#include <QCursor>
#include <QElapsedTimer>
#include <QPainterPath>
#include <QPointer>
#include <QTimer>

#include <functional>

// Hands the pointer's state to the active tool and tells what the tool has changed: document, selection,
// position, cursor, outline, controls. The document's lock is held for writing meanwhile.
//
// What a tool that throws has done is taken back; a box tells it, and the tool is laid down, since it would
// throw at the next move of the pointer again. GUI thread.
class ToolRunner
{
public:
    // `failed` is called when a tool is laid down because it has thrown, before that is told.
    ToolRunner(EditDesk& desk, IEvent* listener, std::function<void()> failed);

    // Leaves the old tool and enters the new one, also where they are the same. To the new one a button
    // that is held meanwhile is up, so that it does not go on with what was not begun with it.
    void setTool(EventId tool, IToolPlugin* plugin);
    void setMouse(const MouseEvent& event);
    void setControlId(int32_t id) { m_controlId = id; }
    // ToolPluginActivate, ToolNoneActivate, ...: the id of the event that chose the tool.
    [[nodiscard]] EventId tool() const { return m_tool; }
    [[nodiscard]] IToolPlugin* plugin() const { return m_plugin; }
    // The tool shows an outline: Return and Escape are its own.
    [[nodiscard]] bool isDrawing() const { return isActive() && !m_path.isEmpty(); }

    // Before a call shows its progress.
    void setPatience(int64_t milliseconds) { m_patience = milliseconds; }

    // Hands the last state of the mouse over, told as fresh (flags 0 or ToolDoubleClick) or once more
    // (`flags` of ToolFlag). Nothing happens without a plug-in tool and a project, and while a command or
    // process is in work.
    void execute(uint32_t flags = 0);
    // Calls a slot of the active tool by its name, if it has one.
    void invoke(const char* slot);

private:
    [[nodiscard]] bool isActive() const { return m_tool == EventId::ToolPluginActivate && m_plugin; }
    // Of the two hooks that change nothing; false when it threw.
    bool hook(IToolPlugin& plugin, void (IToolPlugin::*function)());
    void leave();
    void layDown();
    void tellContext();
    void fail(const EditDesk::Mark& mark, const QString& cause);
    void tellPictures(const QCursor& cursor, const QPainterPath& path, const QList<ToolControl>& controls);

    EditDesk& m_desk;
    IEvent* m_listener;
    std::function<void()> m_failed;
    EventId m_tool = EventId::ToolNoneActivate;
    QPointer<IToolPlugin> m_plugin;
    MouseEvent m_mouse;
    bool m_heldBefore = false;  // the button is held since before the tool was chosen
    uint32_t m_clickFlag = 0;   // ToolDoubleClick while the press in m_mouse is one
    QElapsedTimer m_sincePress; // since the last one
    bool m_runs = false;        // the tool is being called, or what it did is told
    QTimer m_context;           // runs out where contextChanged() is due
    bool m_contextDue = false;  // as soon as nothing is in work
    QCursor m_cursor;
    QPainterPath m_path;
    QList<ToolControl> m_controls;
    int32_t m_controlId = -1;
    int64_t m_patience = EditProgress::patience;
};
