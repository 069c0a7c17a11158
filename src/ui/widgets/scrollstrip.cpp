#include "ui/widgets/scrollstrip.h"

#include <QApplication>
#include <QIcon>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QWheelEvent>

namespace {

constexpr int step = 120; // logical pixels, about one control
constexpr int notch = 120;
constexpr int margin = 12;
constexpr int buttonWidth = 20;

} // namespace

ScrollStrip::ScrollStrip(QWidget* content, const QString& name, QWidget* parent)
    : QWidget(parent),
      m_content(content),
      m_area(new QScrollArea(this)),
      m_left(makeButton(":/icons/arrowleft.png", tr("Left Part of %1").arg(name), -1)),
      m_right(makeButton(":/icons/arrowright.png", tr("Right Part of %1").arg(name), 1))
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_area->setAccessibleName(name);
    m_area->setFocusPolicy(Qt::NoFocus);
    m_area->setFrameShape(QFrame::NoFrame);
    m_area->setWidgetResizable(true);
    m_area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_area->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_area->setWidget(content);
    content->setAutoFillBackground(false);
    m_area->viewport()->setAutoFillBackground(false);
    m_area->viewport()->installEventFilter(this);
    content->installEventFilter(this);
    connect(m_area->horizontalScrollBar(), &QScrollBar::rangeChanged, this, &ScrollStrip::follow);
    connect(m_area->horizontalScrollBar(), &QScrollBar::valueChanged, this, &ScrollStrip::follow);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (!now || !m_content->isAncestorOf(now))
            return;
        // The whole of it, not its text cursor alone.
        const QPoint middle = now->mapTo(m_content, now->rect().center());
        m_area->ensureVisible(middle.x(), middle.y(), now->width() / 2 + margin, 0);
    });
    follow();
}

QToolButton* ScrollStrip::makeButton(const char* icon, const QString& text, int steps)
{
    auto* button = new QToolButton(this);
    button->setIcon(QIcon(QString::fromLatin1(icon)));
    button->setAutoRaise(true);
    button->setAutoRepeat(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolTip(text);
    button->setAccessibleName(text);
    connect(button, &QToolButton::clicked, this, [this, steps] { move(steps); });
    return button;
}

void ScrollStrip::move(int steps)
{
    QScrollBar* bar = m_area->horizontalScrollBar();
    bar->setValue(bar->value() + steps * step);
}

QSize ScrollStrip::sizeHint() const
{
    return m_content->minimumSizeHint().expandedTo(minimumSizeHint());
}

QSize ScrollStrip::minimumSizeHint() const
{
    return {step, m_content->minimumSizeHint().height()};
}

void ScrollStrip::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    follow();
}

// By the whole width: the buttons must not come and go for the room that they take themselves.
void ScrollStrip::follow()
{
    const bool needed = m_content->minimumSizeHint().width() > width();
    const int side = needed ? buttonWidth : 0;
    m_left->setVisible(needed);
    m_right->setVisible(needed);
    m_left->setGeometry(0, 0, side, height());
    m_area->setGeometry(side, 0, width() - 2 * side, height());
    m_right->setGeometry(width() - side, 0, side, height());
    const QScrollBar* bar = m_area->horizontalScrollBar();
    m_left->setEnabled(bar->value() > bar->minimum());
    m_right->setEnabled(bar->value() < bar->maximum());
}

bool ScrollStrip::eventFilter(QObject* object, QEvent* event)
{
    if (object == m_content && event->type() == QEvent::LayoutRequest) {
        updateGeometry();
        follow();
    }
    if (object == m_area->viewport() && event->type() == QEvent::Wheel) {
        const QPoint angle = static_cast<QWheelEvent*>(event)->angleDelta();
        const int turned = angle.x() ? angle.x() : angle.y();
        m_area->horizontalScrollBar()->setValue(m_area->horizontalScrollBar()->value() -
                                                turned * step / notch);
        return true;
    }
    return QWidget::eventFilter(object, event);
}
