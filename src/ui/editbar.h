// The tool bar "Edit": the documents, and what the Edit menu does.
#pragma once

#include <QToolBar>

class ActionTable;

// Icons of actions that stand in the menus too, with their names and keys as tool tips. It keeps to the top
// or the foot of the window. Arrow keys walk from button to button. GUI thread.
class EditBar : public QToolBar
{
    Q_OBJECT

public:
    explicit EditBar(QWidget* parent = nullptr);

    // Once the table has its actions.
    void fill(const ActionTable& actions);

    bool eventFilter(QObject* object, QEvent* event) override;
};
