#include "ui/widgets/usersettings.h"

#include "base/platform.h"

#include <QCoreApplication>
#include <QFileInfo>
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
    // Qt would make the file readable for all; where it exists, its permissions are kept.
    if (platform::makePrivateFolder(QFileInfo(fileName()).path()))
        static_cast<void>(platform::createPrivateFile(fileName()));
}
