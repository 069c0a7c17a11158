// The Help menu.
#pragma once

class ActionTable;
class MainWindow;

// The rows go into `actions`. An entry whose manual is not installed is left out.
void buildHelpMenu(MainWindow& window, ActionTable& actions);
