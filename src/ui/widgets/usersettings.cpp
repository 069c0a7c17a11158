#include "ui/widgets/usersettings.h"

#include <QCoreApplication>
#include <QVariant>

namespace {

QString text(const char* key)
{
    return QCoreApplication::instance()->property(key).toString();
}

} // namespace

UserSettings::UserSettings()
    : QSettings(QCoreApplication::organizationName(),
                QStringLiteral("%1 %2.%3").arg(text("name"), text("major"), text("minor")))
{
}
