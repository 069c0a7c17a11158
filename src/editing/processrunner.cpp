#include "editing/processrunner.h"

#include "editing/pluginprogress.h"
#include "plugins/iprocessplugin.h"
#include "plugins/plugincall.h"

#include <QDebug>

namespace {

QIcon processIcon()
{
    return QIcon(QStringLiteral(":/icons/menu.png"));
}

} // namespace

void ProcessRunner::execute(IProcessPlugin& plugin, const QString& name)
{
    const EditDesk::Action action(m_desk);
    if (!action || !m_desk.hasProject())
        return;
    Q_EMIT stopRequested();
    const EditDesk::Mark mark = m_desk.mark();
    PluginProgress progress(m_desk.window(), name, m_patience, nullptr);
    plugin.context = m_desk.pluginContext();
    plugin.context.progress = &progress;
    QString cause;
    const std::optional<bool> recorded = callPlugin(cause, [&] { return plugin.execute(name); });
    plugin.context.progress = nullptr;
    plugin.context.activeLayer.reset(); // whose project may be closed before the next call
    Q_EMIT stopRequested();
    if (!recorded) {
        qWarning().noquote() << "process" << name << "failed:" << cause;
        m_desk.takeBack(mark);
        m_desk.tellFailure(tr("Process Failed"), name, cause);
    } else if (!m_desk.rollBackFailed(name)) {
        m_desk.commit(*recorded ? name : QString(), processIcon());
    }
}

void ProcessRunner::preview()
{
    m_desk.commit({}, processIcon());
}
