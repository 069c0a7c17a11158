// Reading the property store.
#pragma once

#include <QCoreApplication>
#include <QVariant>

// The property of the application object, or `fallback` where it is not set.
[[nodiscard]] inline QVariant propertyOr(const char* key, const QVariant& fallback)
{
    const QVariant value = QCoreApplication::instance()->property(key);
    return value.isValid() ? value : fallback;
}
