#include "display/scalegrip.h"

#include "display/devicegrid.h"
#include "display/properties.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int gripWidth = 6; // logical pixels
constexpr int keyStep = 4;
constexpr double lineInset = 6;

bool isGripKey(int key)
{
    return key == Qt::Key_Left || key == Qt::Key_Right;
}

} // namespace

ScaleGrip::ScaleGrip(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("scalegrip"));
    setFixedWidth(gripWidth);
    setCursor(Qt::SplitHCursor);
    setFocusPolicy(Qt::TabFocus);
    setToolTip(tr("Drag: width of the rulers."));
    setAccessibleName(tr("Width of the rulers"));
}

void ScaleGrip::mousePressEvent(QMouseEvent* event)
{
    m_lastX = event->globalX();
}

void ScaleGrip::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton) || event->globalX() == m_lastX)
        return;
    Q_EMIT shifted(m_lastX - event->globalX());
    m_lastX = event->globalX();
}

// The keys that the grip takes while it has the focus are shortcuts of the window otherwise.
bool ScaleGrip::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = static_cast<QKeyEvent&>(*event);
        if (key.modifiers() == Qt::NoModifier && isGripKey(key.key())) {
            event->accept();
            return true;
        }
    }
    if (event->type() == QEvent::Enter || event->type() == QEvent::Leave ||
        event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)
        update();
    return QWidget::event(event);
}

void ScaleGrip::keyPressEvent(QKeyEvent* event)
{
    if (event->modifiers() == Qt::NoModifier && isGripKey(event->key()))
        Q_EMIT shifted(event->key() == Qt::Key_Left ? keyStep : -keyStep);
    else
        QWidget::keyPressEvent(event);
}

void ScaleGrip::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QColor colour = hasFocus()     ? colorOr("coloredit", "#3399ff")
                          : underMouse() ? colorOr("colortext", "#e0e0e0")
                                         : colorOr("colorhighlight", "#676767");
    painter.fillRect(DeviceGrid(*this).vertical(width() / 2.0, lineInset, height() - lineInset), colour);
}
