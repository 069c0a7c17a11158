// The Process menu.
#pragma once

#include <QList>

class ActionTable;
class IProcessPlugin;
class MainWindow;
class QMenu;

// One entry for each process of the plug-ins, in their submenus, with rows of the shortcut table. A plug-in
// that throws meanwhile is left out, with a warning that names it. The menu is hidden while it has no entry.
QMenu* buildProcessMenu(MainWindow& window, ActionTable& actions, const QList<IProcessPlugin*>& plugins);
