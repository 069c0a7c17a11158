// The commands of the channels display in the menus and among the keys of the window.
#pragma once

class ActionTable;
class ChannelsDisplay;
class QMenu;
class QMenuBar;

// "&Transport", and the keys that move the position, select from it on, and zoom.
void addChannelCommands(QMenuBar& bar, ActionTable& actions, ChannelsDisplay& display);
// The menus of units, scales and rendering, before what stands in "&View".
void addUnitMenus(QMenu& view);
