// The menus of the window.
#pragma once

class ActionTable;
class MainWindow;
class QMenu;

// Makes every action with its keys, and the menu bar. Walks tables: a row is a menu entry.
// The Process menu is returned empty, for the plug-ins, whose rows come last.
QMenu& buildMainMenu(MainWindow& window, ActionTable& actions);
