#include "ui/editbar.h"

#include "ui/actiontable.h"
#include "ui/widgets/qtoolbarext.h"

#include <QAction>
#include <QIcon>
#include <QKeyEvent>
#include <QToolButton>

namespace {

constexpr int iconSide = 16; // logical pixels: what the icons are drawn for

struct Entry
{
    const char* action; // null: a line
    const char* icon;
};

constexpr Entry entries[] = {
    {"filenew", ":/icons/new.png"},
    {"fileopen", ":/icons/open.png"},
    {"filesave", ":/icons/save.png"},
    {nullptr, nullptr},
    {"editundo", ":/icons/undo.png"},
    {"editredo", ":/icons/redo.png"},
    {nullptr, nullptr},
    {"editcut", ":/icons/cut.png"},
    {"editcutnew", ":/icons/cutnew.png"},
    {"editcopy", ":/icons/copy.png"},
    {"editcopyall", ":/icons/copyall.png"},
    {"editcopynew", ":/icons/copynew.png"},
    {"editpaste", ":/icons/paste.png"},
    {"editpastenew", ":/icons/pastenew.png"},
    {nullptr, nullptr},
    {"editdel", ":/icons/delete.png"},
};

} // namespace

EditBar::EditBar(QWidget* parent) : QToolBar(tr("Edit"), parent)
{
    setObjectName(QStringLiteral("edit"));
    setAccessibleName(windowTitle());
    setMovable(false);
    setFloatable(false);
    setAllowedAreas(Qt::TopToolBarArea | Qt::BottomToolBarArea);
    setIconSize(QSize(iconSide, iconSide));
    nameExtension(*this);
}

void EditBar::fill(const ActionTable& actions)
{
    for (const Entry& entry : entries) {
        if (!entry.action) {
            addSeparator();
            continue;
        }
        QAction* action = actions.action(QString::fromLatin1(entry.action));
        action->setIcon(QIcon(QString::fromLatin1(entry.icon)));
        action->setIconVisibleInMenu(false);
        const QString name = action->toolTip(); // its text, without mnemonic and dots
        tellKeys(*action);
        addAction(action);
        auto* button = qobject_cast<QToolButton*>(widgetForAction(action));
        button->setAccessibleName(name);
        button->setFocusPolicy(Qt::TabFocus);
        button->installEventFilter(this);
    }
}

bool EditBar::eventFilter(QObject* object, QEvent* event)
{
    const bool isKey = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
    if (!isKey || !isPlainArrow(static_cast<const QKeyEvent&>(*event)))
        return QToolBar::eventFilter(object, event);
    if (event->type() == QEvent::ShortcutOverride)
        event->accept();
    else
        focusNextButton(findChildren<QToolButton*>(QString(), Qt::FindDirectChildrenOnly),
                        static_cast<QToolButton*>(object), static_cast<const QKeyEvent&>(*event).key());
    return true;
}
