// The language of the interface.
#pragma once

#include <QString>
#include <QStringList>

// `stored` is the property `language`, `offered` the property `languages` split, `system` the locale's
// BCP 47 name, `asked` the value of -language (null without).
[[nodiscard]] QString chooseLanguage(const QString& stored, const QStringList& offered, const QString& system,
                                     const QString& asked);

// Installs what there is for `language`: a file ending in ".qm", or "qtbase_" and "app_" of the
// resources. The translators live as long as the application object.
void installTranslations(const QString& language);
