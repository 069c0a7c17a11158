#include "editing/toolrunner.h"

#include "editing/pluginprogress.h"
#include "model/documentlock.h"
#include "plugins/plugincall.h"

#include <QAction>
#include <QApplication>
#include <QDebug>
#include <QToolButton>

#include <cmath>

namespace {

bool looksLike(const QCursor& a, const QCursor& b)
{
    return a.shape() == b.shape() && a.pixmap().cacheKey() == b.pixmap().cacheKey();
}

QList<ControlPoint> pointsOf(const QList<ToolControl>& controls)
{
    QList<ControlPoint> points;
    for (const ToolControl& control : controls)
        points << ControlPoint{control.position};
    return points;
}

// The same state once more: nothing has just been pressed.
MouseEvent repeated(MouseEvent event)
{
    event.previousPosition = event.position;
    event.previousPressure = event.pressure;
    event.previousModifiers = event.modifiers;
    return event;
}

bool isPress(const MouseEvent& event)
{
    return event.previousPressure < 0 && event.pressure >= 0;
}

QString nameOf(const IToolPlugin& plugin)
{
    QString cause;
    return callPlugin(cause, [&] { return plugin.description(); }).value_or(QStringLiteral("(unnamed)"));
}

QAction* faceOf(IToolPlugin& plugin)
{
    QString cause;
    const auto button = callPlugin(cause, [&] { return plugin.toolButton(); });
    return button && *button ? (*button)->defaultAction() : nullptr;
}

} // namespace

ToolRunner::ToolRunner(EditDesk& desk, IEvent* listener, std::function<void()> failed)
    : m_desk(desk),
      m_listener(listener),
      m_failed(std::move(failed))
{
    m_context.setSingleShot(true);
    m_context.setInterval(0);
    QObject::connect(&m_context, &QTimer::timeout, &m_context, [this] { tellContext(); });
    QObject::connect(&desk, &EditDesk::changed, &m_context, [this] {
        if (!m_runs && isActive())
            m_context.start();
    });
    QObject::connect(&desk, &EditDesk::becameIdle, &m_context, [this] {
        if (m_contextDue)
            m_context.start();
    });
}

// --- the choice ------------------------------------------------------------------------------------

void ToolRunner::setTool(EventId tool, IToolPlugin* plugin)
{
    leave();
    m_tool = tool;
    m_plugin = plugin;
    m_heldBefore = m_heldBefore || m_mouse.pressure >= 0;
    m_mouse.pressure = m_mouse.previousPressure = -1;
    if (!isActive())
        return;
    m_sincePress.invalidate();
    if (!hook(*plugin, &IToolPlugin::activate))
        layDown();
}

void ToolRunner::layDown()
{
    if (m_failed)
        m_failed();
    postEvent(nullptr, EventId::ToolNoneActivate, nullptr);
}

void ToolRunner::leave()
{
    m_context.stop();
    m_contextDue = false;
    if (!isActive())
        return;
    const QPointer<IToolPlugin> plugin = m_plugin;
    m_plugin = nullptr;
    m_tool = EventId::ToolNoneActivate;
    hook(*plugin, &IToolPlugin::deactivate);
    const QCursor cursor = std::exchange(m_cursor, QCursor());
    const QPainterPath path = std::exchange(m_path, QPainterPath());
    const QList<ToolControl> controls = std::exchange(m_controls, {});
    m_controlId = -1;
    tellPictures(cursor, path, controls);
}

bool ToolRunner::hook(IToolPlugin& plugin, void (IToolPlugin::*function)())
{
    plugin.context = m_desk.pluginContext();
    plugin.context.controlId = m_controlId;
    QString cause;
    const auto done = callPlugin(cause, [&] {
        (plugin.*function)();
        return true;
    });
    plugin.context.activeLayer.reset(); // whose project may be closed before the next call
    if (!done)
        qWarning().noquote() << "tool" << nameOf(plugin) << "failed:" << cause;
    return done.has_value();
}

// A command in work has not closed its edit yet: what it changes is told when it has ended.
void ToolRunner::tellContext()
{
    if (!isActive())
        return;
    m_contextDue = m_desk.isBusy();
    if (m_contextDue)
        return;
    if (!hook(*m_plugin, &IToolPlugin::contextChanged))
        layDown();
}

void ToolRunner::invoke(const char* slot)
{
    if (!isActive() || m_plugin->metaObject()->indexOfMethod(
                           QMetaObject::normalizedSignature(QByteArray(slot) + "()").constData()) < 0)
        return;
    QString cause;
    const auto done = callPlugin(cause, [&] { return QMetaObject::invokeMethod(m_plugin, slot); });
    if (!done)
        qWarning().noquote() << "tool" << nameOf(*m_plugin) << "failed:" << cause;
}

// --- the pointer -----------------------------------------------------------------------------------

void ToolRunner::setMouse(const MouseEvent& event)
{
    const MouseEvent before = std::exchange(m_mouse, event);
    m_clickFlag = 0;
    if (m_heldBefore) {
        m_heldBefore = event.pressure >= 0;
        m_mouse.pressure = m_mouse.previousPressure = -1;
        return;
    }
    if (!isPress(event))
        return;
    const double reach = QApplication::startDragDistance();
    const bool near = std::hypot(event.pressPixel.x - before.pressPixel.x,
                                 event.pressPixel.y - before.pressPixel.y) < reach;
    const bool soon = m_sincePress.isValid() && m_sincePress.elapsed() < QApplication::doubleClickInterval();
    if (near && soon && event.channel == before.channel) {
        m_clickFlag = ToolDoubleClick;
        m_sincePress.invalidate(); // the third press is a first one again
    } else {
        m_sincePress.start();
    }
}

void ToolRunner::execute(uint32_t flags)
{
    if (!isActive() || !m_desk.hasProject())
        return;
    const EditDesk::Action action(m_desk);
    if (!action)
        return;
    m_runs = true;
    const QPointer<IToolPlugin> plugin = m_plugin;
    const EditDesk::Mark mark = m_desk.mark();
    const QCursor cursor = m_cursor;
    const QPainterPath path = m_path;
    const QList<ToolControl> controls = m_controls;
    const QAction* const face = faceOf(*plugin);
    const QString label = face ? face->text() : nameOf(*plugin);
    const QIcon icon = face ? face->icon() : QIcon();
    PluginProgress progress(m_desk.window(), label, m_patience, &documentLock());
    plugin->context = m_desk.pluginContext();
    plugin->context.controlId = m_controlId;
    plugin->context.progress = &progress;
    m_mouse.toolMode = plugin->mode;
    const MouseEvent event = flags ? repeated(m_mouse) : m_mouse;
    QString cause;
    std::optional<bool> recorded;
    {
        const WriteLocker locker(documentLock());
        recorded = callPlugin(cause, [&] {
            return plugin->execute(event, m_cursor, m_path, m_controls, flags ? flags : m_clickFlag);
        });
    }
    plugin->context.progress = nullptr;
    plugin->context.activeLayer.reset();
    if (!recorded) {
        fail(mark, cause);
    } else {
        const int64_t position = plugin->context.transportPosition;
        if (!m_desk.rollBackFailed(label, EditDesk::Show::Later)) {
            m_desk.commit(*recorded ? label : QString(), icon);
            if (position != m_desk.state().transportPosition)
                m_desk.moveTransport(position);
        }
        tellPictures(cursor, path, controls);
    }
    m_runs = false;
}

void ToolRunner::fail(const EditDesk::Mark& mark, const QString& cause)
{
    const QString name = nameOf(*m_plugin);
    qWarning().noquote() << "tool" << name << "failed:" << cause;
    m_desk.takeBack(mark);
    layDown();
    m_desk.tellFailure(EditDesk::tr("Tool Failed"), name, cause);
}

void ToolRunner::tellPictures(const QCursor& cursor, const QPainterPath& path,
                              const QList<ToolControl>& controls)
{
    if (!looksLike(cursor, m_cursor))
        postEvent(m_listener, EventId::MouseCursorChange, m_cursor, m_listener);
    if (path != m_path)
        postEvent(m_listener, EventId::MouseDrawingChange, DrawingState{m_path}, m_listener);
    const QList<ControlPoint> points = pointsOf(m_controls);
    if (pointsOf(controls) != points)
        postEvent(m_listener, EventId::MouseControlsChange, points, m_listener);
}
