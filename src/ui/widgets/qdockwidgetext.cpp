#include "ui/widgets/qdockwidgetext.h"

#include <QAction>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QToolButton>

namespace {

bool belongsToAControl(const QKeyEvent& event)
{
    // Arrows of the keypad carry a modifier; Ctrl goes with them in lists and fields.
    if (event.modifiers() & ~(Qt::KeypadModifier | Qt::ControlModifier | Qt::ShiftModifier))
        return false;
    switch (event.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End:
        return true;
    case Qt::Key_Space:
        return event.modifiers() == Qt::NoModifier;
    default:
        return false;
    }
}

} // namespace

QDockWidgetExt::QDockWidgetExt(const QString& title, const QIcon& icon, QWidget* content, QWidget* parent)
    : QDockWidget(title, parent),
      m_roll(new QToolButton(this))
{
    setWidget(content);
    setWindowIcon(icon);
    toggleViewAction()->setIcon(icon);
    setAccessibleName(title);

    auto* bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("docktitle"));
    auto* picture = new QLabel(bar);
    picture->setPixmap(icon.pixmap(16, 16));
    picture->setAccessibleName(title);
    m_roll->setObjectName(QStringLiteral("compacticon"));
    m_roll->setAutoRaise(true);
    m_roll->setCheckable(true);
    m_roll->setFocusPolicy(Qt::StrongFocus);
    connect(m_roll, &QToolButton::clicked, this, &QDockWidgetExt::setUnrolled);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(8, 3, 4, 3);
    layout->setSpacing(6);
    layout->addWidget(picture);
    layout->addWidget(new QLabel(title, bar), 1);
    layout->addWidget(m_roll);
    setTitleBarWidget(bar);
    // Without its size a hidden content would also take the width from its title.
    QSizePolicy policy = content->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    content->setSizePolicy(policy);
    setUnrolled(true);
}

bool QDockWidgetExt::isUnrolled() const
{
    return m_roll->isChecked();
}

void QDockWidgetExt::setUnrolled(bool unrolled)
{
    m_roll->setChecked(unrolled);
    m_roll->setIcon(
        QIcon(unrolled ? QStringLiteral(":/icons/unrolled.png") : QStringLiteral(":/icons/rolled.png")));
    m_roll->setToolTip(unrolled ? tr("Roll Up") : tr("Roll Down"));
    m_roll->setAccessibleName(m_roll->toolTip());
    widget()->setVisible(unrolled);
    // Rolled up it must not keep the height of its content.
    setMaximumHeight(unrolled ? QWIDGETSIZE_MAX : titleBarWidget()->sizeHint().height());
}

// Comes up from the control that has the focus.
bool QDockWidgetExt::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride && belongsToAControl(*static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QDockWidget::event(event);
}
