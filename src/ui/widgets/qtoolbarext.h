// A tool bar of buttons in one or two lanes, in sections.
#pragma once

#include <QList>
#include <QToolBar>

class QKeyEvent;
class QToolButton;

// An arrow key without modifiers.
[[nodiscard]] bool isPlainArrow(const QKeyEvent& key);
// Moves the focus by an arrow key to the next (or previous) of `buttons` that shows and is enabled.
void focusNextButton(const QList<QToolButton*>& buttons, QToolButton* from, int key);
// The button that a tool bar shows where it has no room for all its contents: words and keys for it.
void nameExtension(QToolBar& bar);

// Its first button switches between one lane and two. Arrow keys walk from button to button; Alt and the
// down arrow, F4 or the menu key open the menu of a button that has one.
class QToolBarExt : public QToolBar
{
    Q_OBJECT

public:
    explicit QToolBarExt(const QString& title, QWidget* parent = nullptr);

    // What is added from here on is separated by a line from what was added before. A section without
    // buttons leaves no trace.
    void beginSection();
    // Takes the button over.
    void addButton(QToolButton* button);
    // Two lanes.
    [[nodiscard]] bool isExpanded() const { return m_expanded; }
    void setExpanded(bool expanded);
    // In the order of the bar, without the switch.
    [[nodiscard]] QList<QToolButton*> buttons() const;

    bool eventFilter(QObject* object, QEvent* event) override;

Q_SIGNALS:
    // By the user.
    void expandedChanged(bool expanded);

private:
    void layOut();

    QWidget* m_body;
    QToolButton* m_switch;
    QList<QList<QToolButton*>> m_sections;
    bool m_expanded = false;
};
