// The actions of the window and their keys.
#pragma once

#include <functional>

#include <QHash>
#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QString>

class QAction;
class QWidget;

// One row: what the settings and the shortcuts dialog know an action by.
struct ActionRow
{
    QString id;       // menu plus verb: "fileopen"
    QString label;    // with its mnemonic: "&Open..."
    QString tip = {}; // for the status line; empty takes the label
    QKeySequence::StandardKey standard = QKeySequence::UnknownKey;
    QString keys = {}; // portable text, "; " between primary and secondary; they come before `standard`
    bool needsProject = false; // disabled while no project is open
    bool checkable = false;
};

// Puts the first key of an action behind its tool tip: "Rectangle (M)".
void tellKeys(QAction& action);

// Makes the actions by their rows. Keys are the user's own where the property `shortcuts` (a hash
// from id to portable text, ';'-separated) has an entry for the id, otherwise those of the row.
// The defaults are published in the property `defaultsettings` under "shortcuts", the labels in the
// property `nameshortcuts`.
class ActionTable : public QObject
{
    Q_OBJECT

public:
    // Actions belong to `window`, whose keys they are.
    explicit ActionTable(QWidget& window);

    // `triggered` is called with the checked state. An id that is empty or taken makes an action without keys
    // that is no row of the table, with a warning: what plug-ins call themselves must not displace anything.
    QAction* add(const ActionRow& row, const std::function<void(bool)>& triggered);
    // Null for an unknown id.
    [[nodiscard]] QAction* action(const QString& id) const { return m_actions.value(id); }
    // All, in the order in which they were added.
    [[nodiscard]] const QList<QAction*>& actions() const { return m_inOrder; }
    // Enables or disables all rows that need a project.
    void setProjectOpen(bool open);
    // Writes the two properties; after the last row.
    void publish() const;

    // A list or slider that has the focus gets its arrows, Home, End and the page keys, and a control of a
    // panel or tool bar gets Tab, though they are shortcuts of the window.
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    QWidget& m_window;
    QHash<QString, QAction*> m_actions; // children of the window
    QList<QAction*> m_inOrder;
    QHash<QString, QString> m_defaults;
    QList<QAction*> m_needProject;
};
