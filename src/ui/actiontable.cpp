#include "ui/actiontable.h"

#include <QAction>
#include <QCoreApplication>
#include <QVariant>
#include <QWidget>

namespace {

// Without empty ones: an action whose first key is empty leaves its others in the application's map when
// it dies, and the next key press reads a dead action.
QList<QKeySequence> keysOf(const QString& portable)
{
    QList<QKeySequence> keys = QKeySequence::listFromString(portable);
    keys.removeAll(QKeySequence());
    return keys;
}

QList<QKeySequence> defaultKeys(const ActionRow& row)
{
    return keysOf(row.keys) + QKeySequence::keyBindings(row.standard);
}

QString withoutMnemonic(QString label)
{
    return label.remove(QLatin1Char('&')).remove(QStringLiteral("..."));
}

} // namespace

ActionTable::ActionTable(QWidget& window) : QObject(&window), m_window(window) {}

QAction* ActionTable::add(const ActionRow& row, const std::function<void(bool)>& triggered)
{
    auto* action = new QAction(row.label, &m_window);
    action->setObjectName(row.id);
    action->setCheckable(row.checkable);
    action->setStatusTip(row.tip.isEmpty() ? withoutMnemonic(row.label) : row.tip);
    const QList<QKeySequence> keys = defaultKeys(row);
    m_defaults[row.id] = QKeySequence::listToString(keys);
    const QVariantHash own = QCoreApplication::instance()->property("shortcuts").toHash();
    action->setShortcuts(own.contains(row.id) ? keysOf(own[row.id].toString()) : keys);
    connect(action, &QAction::triggered, this, triggered);
    // Also those that stand in no menu have their keys from the window.
    m_window.addAction(action);
    m_actions[row.id] = action;
    if (row.needsProject)
        m_needProject << action;
    return action;
}

void ActionTable::setProjectOpen(bool open)
{
    for (QAction* action : m_needProject)
        action->setEnabled(open);
}

void ActionTable::publish() const
{
    QVariantHash keys;
    QVariantHash labels;
    for (auto it = m_actions.begin(); it != m_actions.end(); ++it) {
        keys[it.key()] = m_defaults[it.key()];
        labels[it.key()] = withoutMnemonic(it.value()->text());
    }
    QObject* application = QCoreApplication::instance();
    QVariantHash defaults = application->property("defaultsettings").toHash();
    defaults[QStringLiteral("shortcuts")] = keys;
    application->setProperty("defaultsettings", defaults);
    application->setProperty("nameshortcuts", labels);
}
