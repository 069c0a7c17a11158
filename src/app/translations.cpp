#include "app/translations.h"

#include <QCoreApplication>
#include <QTranslator>

QString chooseLanguage(const QString& stored, const QStringList& offered, const QString& system,
                       const QString& asked)
{
    if (!asked.isNull())
        return asked;
    return stored.isEmpty() && offered.contains(system) ? system : stored;
}

void installTranslations(const QString& language)
{
    if (language == QLatin1String("en"))
        return;
    // Children of the application object, which is the life they need.
    auto* application = new QTranslator(QCoreApplication::instance());
    if (language.endsWith(QLatin1String(".qm"), Qt::CaseInsensitive)) {
        if (application->load(language))
            QCoreApplication::installTranslator(application);
        return;
    }
    const QString folder = QStringLiteral(":/language");
    auto* qt = new QTranslator(QCoreApplication::instance());
    if (qt->load(QLatin1String("qtbase_") + language, folder))
        QCoreApplication::installTranslator(qt);
    if (application->load(QLatin1String("app_") + language, folder))
        QCoreApplication::installTranslator(application);
}
