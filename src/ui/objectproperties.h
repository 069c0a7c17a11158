// Properties that speak to single objects of the window by their object name.
#pragma once

class QObject;

// Walks the object tree below `root`. "show@<objectName>" shows or hides the widgets and actions of
// that name ("true" shows); "default@<objectName>" sets a check box ("true" checks it) or the text
// of a line edit. Done once, when the window is built.
void applyObjectProperties(QObject& root);
