// Reading the property store.
#pragma once

#include <QColor>
#include <QCoreApplication>
#include <QVariant>

// The property of the application object, or `fallback` where it is not set.
[[nodiscard]] inline QVariant propertyOr(const char* key, const QVariant& fallback)
{
    const QVariant value = QCoreApplication::instance()->property(key);
    return value.isValid() ? value : fallback;
}

// The same of a colour, which is a QColor or its name.
[[nodiscard]] inline QColor colorOr(const char* key, const char* fallback)
{
    const auto color = propertyOr(key, QVariant()).value<QColor>();
    return color.isValid() ? color : QColor(QLatin1String(fallback));
}
