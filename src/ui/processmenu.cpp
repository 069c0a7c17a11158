#include "ui/processmenu.h"

#include "editing/datamanager.h"
#include "plugins/iprocessplugin.h"
#include "plugins/plugincall.h"
#include "plugins/pluginloader.h"
#include "ui/actiontable.h"

#include <QAction>
#include <QDebug>
#include <QMenu>

namespace {

struct Entries
{
    QString description;
    QString menu;
    QStringList names;
};

// A plug-in writes "&" for itself.
QString shown(QString name)
{
    return name.replace(QLatin1Char('&'), QLatin1String("&&"));
}

QMenu* submenuOf(QMenu* process, const QString& name)
{
    if (name.isEmpty())
        return process;
    for (const QAction* action : process->actions())
        if (action->menu() && action->menu()->title() == shown(name))
            return action->menu();
    return process->addMenu(shown(name));
}

void addEntries(QMenu* process, IProcessPlugin* plugin, const Entries& entries, ActionTable& actions,
                DataManager& data)
{
    for (int i = 0; i < entries.names.size(); ++i) {
        const QString name = entries.names[i];
        if (name.trimmed().isEmpty()) {
            qWarning().noquote() << "process" << entries.description
                                 << "has an entry without a name, which is left out";
            continue;
        }
        ActionRow row;
        row.id = processShortcutId(entries.description, i);
        row.label = shown(name);
        row.needsProject = true;
        QAction* action =
            actions.add(row, [&data, plugin, name](bool) { data.executeProcess(plugin, name); });
        action->setProperty("shortcutid", row.id);
        submenuOf(process, entries.menu)->addAction(action);
    }
}

} // namespace

void fillProcessMenu(QMenu& process, ActionTable& actions, DataManager& data,
                     const QList<IProcessPlugin*>& plugins)
{
    for (IProcessPlugin* plugin : plugins) {
        Entries entries;
        QString cause;
        const auto told = callPlugin(cause, [&] {
            entries.description = plugin->description(); // known to the warning where another one throws
            entries.menu = plugin->menuName();
            entries.names = plugin->processNames();
            return true;
        });
        if (told)
            addEntries(&process, plugin, entries, actions, data);
        else
            qWarning().noquote() << "process" << entries.description << "is left out:" << cause;
    }
    process.menuAction()->setVisible(!process.isEmpty());
}
