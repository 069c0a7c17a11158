#include "editing/toolrunner.h"

#include "model/documentlock.h"
#include "plugins/itoolplugin.h"

#include <exception>

#include <QAction>
#include <QDebug>
#include <QToolButton>

namespace {

bool looksLike(const QCursor& a, const QCursor& b)
{
    return a.shape() == b.shape() && a.pixmap().cacheKey() == b.pixmap().cacheKey();
}

} // namespace

void ToolRunner::setTool(EventId tool, IToolPlugin* plugin)
{
    m_tool = tool;
    m_plugin = plugin;
}

// True when the tool asks for a state of the history.
bool ToolRunner::call(QList<ToolControl>& controls)
{
    try {
        return m_plugin->execute(m_mouse, m_cursor, m_path, controls, uint32_t(m_controlId));
    } catch (const std::exception& error) {
        qWarning().noquote() << "tool" << m_plugin->description() << "failed:" << error.what();
    } catch (...) {
        qWarning().noquote() << "tool" << m_plugin->description() << "failed";
    }
    return false;
}

void ToolRunner::execute()
{
    if (m_tool != EventId::ToolPluginActivate || !m_plugin || !m_desk.state().root)
        return;
    const EditDesk::Action action(m_desk);
    if (!action)
        return;
    const QCursor cursor = m_cursor;
    const QPainterPath path = m_path;
    const QList<ControlPoint> points = m_controls;
    QList<ToolControl> controls;
    for (int i = 0; i < points.size(); ++i)
        controls << ToolControl{i, points[i].position};
    m_plugin->context = m_desk.pluginContext();
    bool recorded = false;
    {
        const WriteLocker locker(documentLock());
        recorded = call(controls);
    }
    m_controls.clear();
    for (const ToolControl& control : controls)
        m_controls << ControlPoint{control.position};
    QToolButton* button = m_plugin->toolButton();
    const QAction* const face = button ? button->defaultAction() : nullptr;
    m_desk.commit(recorded && face ? face->text() : QString(), face ? face->icon() : QIcon());
    tellPictures(cursor, path, points);
}

void ToolRunner::tellPictures(const QCursor& cursor, const QPainterPath& path,
                              const QList<ControlPoint>& controls)
{
    if (!looksLike(cursor, m_cursor))
        postEvent(m_listener, EventId::MouseCursorChange, m_cursor, m_listener);
    if (path != m_path)
        postEvent(m_listener, EventId::MouseDrawingChange, DrawingState{m_path}, m_listener);
    if (controls != m_controls)
        postEvent(m_listener, EventId::MouseControlsChange, m_controls, m_listener);
}
