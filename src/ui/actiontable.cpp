#include "ui/actiontable.h"

#include "display/displacementpad.h"
#include "display/overviewbar.h"

#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QAction>
#include <QComboBox>
#include <QCoreApplication>
#include <QDebug>
#include <QDockWidget>
#include <QKeyEvent>
#include <QToolBar>
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

// Lists, sliders and the strip of the overview walk with keys that are shortcuts of the window elsewhere.
bool walksByKeys(const QObject* object)
{
    return qobject_cast<const QAbstractItemView*>(object) || qobject_cast<const QAbstractSlider*>(object) ||
           qobject_cast<const QComboBox*>(object) || qobject_cast<const QAbstractSpinBox*>(object) ||
           qobject_cast<const OverviewBar*>(object) || qobject_cast<const DisplacementPad*>(object);
}

// Whoever walks through a panel by Tab goes on there.
bool keepsTab(const QObject* object)
{
    while (object && !qobject_cast<const QDockWidget*>(object) && !qobject_cast<const QToolBar*>(object))
        object = object->parent();
    return object != nullptr;
}

bool isTab(const QKeyEvent& event)
{
    return (event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab) &&
           !(event.modifiers() & Qt::ControlModifier);
}

bool isWalkingKey(const QKeyEvent& event)
{
    return !(event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) &&
           ((event.key() >= Qt::Key_Home && event.key() <= Qt::Key_PageDown));
}

} // namespace

void tellKeys(QAction& action)
{
    const QString keys = action.shortcut().toString(QKeySequence::NativeText);
    if (!keys.isEmpty())
        action.setToolTip(QStringLiteral("%1 (%2)").arg(action.toolTip(), keys));
}

ActionTable::ActionTable(QWidget& window) : QObject(&window), m_window(window)
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool ActionTable::eventFilter(QObject* object, QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        if ((isWalkingKey(key) && walksByKeys(object)) || (isTab(key) && keepsTab(object))) {
            event->accept();
            return true;
        }
    }
    return QObject::eventFilter(object, event);
}

QAction* ActionTable::add(const ActionRow& row, const std::function<void(bool)>& triggered)
{
    auto* action = new QAction(row.label, &m_window);
    action->setCheckable(row.checkable);
    action->setStatusTip(row.tip.isEmpty() ? withoutMnemonic(row.label) : row.tip);
    connect(action, &QAction::triggered, this, triggered);
    if (row.needsProject)
        m_needProject << action;
    if (row.id.isEmpty() || m_actions.contains(row.id)) {
        qWarning().noquote() << withoutMnemonic(row.label) << "has no keys: its id"
                             << QLatin1Char('"') + row.id + QLatin1Char('"') << "is empty or taken";
        return action;
    }
    action->setObjectName(row.id);
    const QList<QKeySequence> keys = defaultKeys(row);
    m_defaults[row.id] = QKeySequence::listToString(keys);
    const QVariantHash own = QCoreApplication::instance()->property("shortcuts").toHash();
    action->setShortcuts(own.contains(row.id) ? keysOf(own[row.id].toString()) : keys);
    // Also those that stand in no menu have their keys from the window.
    m_window.addAction(action);
    m_actions[row.id] = action;
    m_inOrder << action;
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
