#include "plugins/includerows.h"

#include <QObject>
#include <QVariant>

QList<IncludeRow> includeRows(const QObject& application)
{
    QList<IncludeRow> rows;
    for (const QByteArray& name : application.dynamicPropertyNames()) {
        if (!name.startsWith("include"))
            continue;
        const QVariantHash value = application.property(name.constData()).toHash();
        const QString text = QString::fromUtf8(name);
        const int at = text.indexOf(QLatin1Char('@'));
        const IncludeRow row{at < 0 ? QString() : text.mid(at + 1),
                             value.value(QStringLiteral("path")).toString().trimmed(),
                             value.value(QStringLiteral("content")).toString().trimmed()};
        if (!row.path.isEmpty() && !row.content.isEmpty())
            rows << row;
    }
    return rows;
}
