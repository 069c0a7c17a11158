// The View menu: what the views show, units, panels, the layout of the window, full screen.
#pragma once

class ActionTable;
class MainWindow;

// The rows go into `actions`. The menu is the next of the window's menu bar.
void buildViewMenu(MainWindow& window, ActionTable& actions);
