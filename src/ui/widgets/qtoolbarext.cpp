#include "ui/widgets/qtoolbarext.h"

#include <QFrame>
#include <QGridLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QMenu>
#include <QToolButton>

#include <algorithm>

namespace {

bool opensMenu(const QKeyEvent& event)
{
    return event.key() == Qt::Key_Menu || event.key() == Qt::Key_F4 ||
           (event.key() == Qt::Key_Down && event.modifiers() & Qt::AltModifier);
}

} // namespace

bool isPlainArrow(const QKeyEvent& key)
{
    return key.key() >= Qt::Key_Left && key.key() <= Qt::Key_Down && !(key.modifiers() & ~Qt::KeypadModifier);
}

void focusNextButton(const QList<QToolButton*>& buttons, QToolButton* from, int key)
{
    const int step = key == Qt::Key_Left || key == Qt::Key_Up ? -1 : 1;
    int at = buttons.indexOf(from);
    do
        at += step;
    while (at >= 0 && at < buttons.size() && !(buttons[at]->isEnabled() && buttons[at]->isVisible()));
    if (at >= 0 && at < buttons.size())
        buttons[at]->setFocus(Qt::OtherFocusReason);
}

void nameExtension(QToolBar& bar)
{
    auto* button = bar.findChild<QToolButton*>(QStringLiteral("qt_toolbar_ext_button"));
    if (!button)
        return;
    button->setAccessibleName(QToolBarExt::tr("More of %1").arg(bar.windowTitle()));
    button->setToolTip(button->accessibleName());
    button->setFocusPolicy(Qt::TabFocus);
}

QToolBarExt::QToolBarExt(const QString& title, QWidget* parent)
    : QToolBar(title, parent),
      m_body(new QWidget(this)),
      m_switch(new QToolButton(m_body))
{
    m_body->setObjectName(QStringLiteral("lanes"));
    addWidget(m_body);
    m_switch->setObjectName(QStringLiteral("lanesswitch"));
    m_switch->setAutoRaise(true);
    m_switch->installEventFilter(this);
    connect(m_switch, &QToolButton::clicked, this, [this] {
        setExpanded(!m_expanded);
        Q_EMIT expandedChanged(m_expanded);
    });
    connect(this, &QToolBar::orientationChanged, this, &QToolBarExt::layOut);
    layOut();
}

void QToolBarExt::beginSection()
{
    if (m_sections.isEmpty() || !m_sections.last().isEmpty())
        m_sections.append(QList<QToolButton*>());
}

void QToolBarExt::addButton(QToolButton* button)
{
    if (m_sections.isEmpty())
        beginSection();
    button->setParent(m_body);
    button->setAutoRaise(true);
    button->setIconSize(iconSize());
    button->setFocusPolicy(Qt::TabFocus);
    button->installEventFilter(this);
    m_sections.last() << button;
    button->show();
    layOut();
}

void QToolBarExt::setExpanded(bool expanded)
{
    m_expanded = expanded;
    layOut();
}

QList<QToolButton*> QToolBarExt::buttons() const
{
    QList<QToolButton*> all;
    for (const QList<QToolButton*>& section : m_sections)
        all << section;
    return all;
}

// A lane is a column of an upright bar, a row of a lying one.
void QToolBarExt::layOut()
{
    const bool upright = orientation() == Qt::Vertical;
    m_switch->setIcon(QIcon(upright == m_expanded ? QStringLiteral(":/icons/arrowleft.png")
                                                  : QStringLiteral(":/icons/arrowright.png")));
    const QString text = m_expanded ? tr("Show Tools in One Lane") : tr("Show Tools in Two Lanes");
    m_switch->setToolTip(text);
    m_switch->setAccessibleName(text);
    delete m_body->layout();
    qDeleteAll(m_body->findChildren<QFrame*>(QStringLiteral("section"), Qt::FindDirectChildrenOnly));
    auto* grid = new QGridLayout(m_body);
    grid->setContentsMargins({});
    grid->setSpacing(1);
    const int lanes = m_expanded ? 2 : 1;
    const auto place = [&](QWidget* widget, int line, int lane, int span) {
        if (upright)
            grid->addWidget(widget, line, lane, 1, span);
        else
            grid->addWidget(widget, lane, line, span, 1);
    };
    place(m_switch, 0, 0, lanes);
    int line = 1;
    for (const QList<QToolButton*>& section : qAsConst(m_sections)) {
        if (section.isEmpty())
            continue;
        auto* rule = new QFrame(m_body);
        rule->setObjectName(QStringLiteral("section"));
        rule->setFrameShape(upright ? QFrame::HLine : QFrame::VLine);
        rule->show();
        place(rule, line++, 0, lanes);
        for (int i = 0; i < section.size(); ++i)
            place(section[i], line + i / lanes, i % lanes, 1);
        line += (section.size() + lanes - 1) / lanes;
    }
}

bool QToolBarExt::eventFilter(QObject* object, QEvent* event)
{
    if (event->type() != QEvent::ShortcutOverride && event->type() != QEvent::KeyPress)
        return QToolBar::eventFilter(object, event);
    auto* button = qobject_cast<QToolButton*>(object);
    const auto& key = static_cast<const QKeyEvent&>(*event);
    const bool menu = button && button->menu() && opensMenu(key);
    // The keys of a button are shown at its actions too, where two would answer.
    const QList<QKeySequence> own =
        button && button->defaultAction() ? button->defaultAction()->shortcuts() : QList<QKeySequence>();
    const bool click = own.contains(QKeySequence(key.key() | int(key.modifiers())));
    if (!menu && !click && !isPlainArrow(key))
        return QToolBar::eventFilter(object, event);
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    if (menu)
        button->showMenu();
    else if (click)
        button->click();
    else
        focusNextButton(QList<QToolButton*>{m_switch} + buttons(), button, key.key());
    return true;
}
