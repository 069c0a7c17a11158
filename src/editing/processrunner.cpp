#include "editing/processrunner.h"

#include "plugins/iprocessplugin.h"

#include <exception>

#include <QDebug>

namespace {

// True when the process asks for a state of the history.
bool call(IProcessPlugin& plugin, const QString& name)
{
    try {
        return plugin.execute(name);
    } catch (const std::exception& error) {
        qWarning().noquote() << "process" << name << "failed:" << error.what();
    } catch (...) {
        qWarning().noquote() << "process" << name << "failed";
    }
    return false;
}

QIcon processIcon()
{
    return QIcon(QStringLiteral(":/icons/menu.png"));
}

} // namespace

void ProcessRunner::execute(IProcessPlugin& plugin, const QString& name)
{
    const EditDesk::Action action(m_desk);
    if (!action || !m_desk.state().root)
        return;
    Q_EMIT stopRequested();
    plugin.context = m_desk.pluginContext();
    const bool recorded = call(plugin, name);
    Q_EMIT stopRequested();
    m_desk.commit(recorded ? name : QString(), processIcon());
}

void ProcessRunner::preview()
{
    m_desk.commit({}, processIcon());
}
