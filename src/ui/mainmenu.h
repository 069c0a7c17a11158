// The menus of the window.
#pragma once

class ActionTable;
class MainWindow;

// Makes every action with its keys, and the menu bar. Walks tables: a row is a menu entry.
void buildMainMenu(MainWindow& window, ActionTable& actions);
