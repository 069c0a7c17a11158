// The Process menu.
#pragma once

#include <QList>

class ActionTable;
class DataManager;
class IProcessPlugin;
class QMenu;

// One entry for each process of the plug-ins, in their submenus, with rows of the shortcut table, once this
// has those of the program itself. A plug-in that throws meanwhile is left out, with a warning that names it;
// so is an entry without a name. The menu is hidden while it has no entry.
void fillProcessMenu(QMenu& process, ActionTable& actions, DataManager& data,
                     const QList<IProcessPlugin*>& plugins);
