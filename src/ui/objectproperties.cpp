#include "ui/objectproperties.h"

#include <QAction>
#include <QCheckBox>
#include <QCoreApplication>
#include <QHash>
#include <QLineEdit>
#include <QVariant>

namespace {

struct ObjectProperties
{
    QHash<QString, bool> visible;
    QHash<QString, QString> defaults;
};

ObjectProperties collect(const QObject& store)
{
    static const QString show = QStringLiteral("show@");
    static const QString preset = QStringLiteral("default@");
    ObjectProperties result;
    for (const QByteArray& name : store.dynamicPropertyNames()) {
        const QString key = QString::fromLatin1(name);
        const QVariant value = store.property(name.constData());
        if (key.startsWith(show))
            result.visible[key.mid(show.size())] = value.toBool();
        else if (key.startsWith(preset))
            result.defaults[key.mid(preset.size())] = value.toString();
    }
    return result;
}

void applyVisible(QObject& object, bool visible)
{
    if (auto* widget = qobject_cast<QWidget*>(&object))
        widget->setVisible(visible);
    else if (auto* action = qobject_cast<QAction*>(&object))
        action->setVisible(visible);
}

void applyDefault(QObject& object, const QString& text)
{
    if (auto* box = qobject_cast<QCheckBox*>(&object))
        box->setChecked(text == QLatin1String("true"));
    else if (auto* edit = qobject_cast<QLineEdit*>(&object))
        edit->setText(text);
}

} // namespace

void applyObjectProperties(QObject& root)
{
    const ObjectProperties properties = collect(*QCoreApplication::instance());
    for (QObject* object : root.findChildren<QObject*>()) {
        const QString name = object->objectName();
        if (name.isEmpty())
            continue;
        if (const auto it = properties.visible.find(name); it != properties.visible.end())
            applyVisible(*object, *it);
        if (const auto it = properties.defaults.find(name); it != properties.defaults.end())
            applyDefault(*object, *it);
    }
}
