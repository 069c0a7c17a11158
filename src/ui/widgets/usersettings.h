// The user's stored settings.
#pragma once

#include <QSettings>

// One store for each product name and minor version: organisation `vendor`, application
// "<name> <major>.<minor>", all from the properties of the application.
class UserSettings : public QSettings
{
public:
    UserSettings();
};
