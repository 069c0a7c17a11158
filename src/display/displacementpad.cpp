#include "display/displacementpad.h"

#include "display/displacement.h"
#include "display/properties.h"

#include <QAction>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>

namespace {

constexpr double degreesPerPixel = 15; // of wheel angle
constexpr double dotRadius = 4;        // logical pixels

float longest()
{
    return propertyOr("maxdisplace", 128).toFloat();
}

} // namespace

DisplacementPad::DisplacementPad(QWidget* parent)
    : QWidget(parent),
      IEvent(QStringLiteral("DisplacementPad")),
      m_snap(new QAction(tr("Snap 3D"), this))
{
    setObjectName(QStringLiteral("displacementpad"));
    setAccessibleName(tr("3D"));
    setToolTip(tr("Direction and depth of the relief; double click for none"));
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* resetAction = new QAction(tr("Reset 3D"), this);
    connect(resetAction, &QAction::triggered, this, &DisplacementPad::reset);
    m_snap->setCheckable(true);
    connect(m_snap, &QAction::toggled, this, [this](bool on) {
        if (on)
            set(m_value);
    });
    addActions({resetAction, m_snap});
}

QPointF DisplacementPad::spotOf(const Displacement& value) const
{
    const double scale = 2.0 * double(longest());
    return {width() / 2.0 + double(value.x) * width() / scale,
            height() / 2.0 - double(value.y) * height() / scale};
}

void DisplacementPad::displacementEvent(EventId, const Displacement& value)
{
    m_value = value;
    update();
}

void DisplacementPad::reset()
{
    set({});
}

void DisplacementPad::set(const Displacement& value)
{
    if (!std::isfinite(value.x) || !std::isfinite(value.y))
        return;
    m_value = displacement::limited(value, longest());
    if (m_snap->isChecked())
        m_value = displacement::snapped(m_value);
    update();
    postEvent(this, EventId::DisplayDisplacementChange, m_value, this);
}

void DisplacementPad::dragTo(const QPointF& pixel)
{
    if (width() < 1 || height() < 1)
        return;
    const double scale = 2.0 * double(longest());
    set({float((pixel.x() - width() / 2.0) * scale / width()),
         float((height() / 2.0 - pixel.y()) * scale / height())});
}

void DisplacementPad::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        dragTo(event->localPos());
}

void DisplacementPad::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons() & Qt::LeftButton)
        dragTo(event->localPos());
}

void DisplacementPad::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        reset();
}

void DisplacementPad::wheelEvent(QWheelEvent* event)
{
    const QPoint delta = event->angleDelta();
    set({m_value.x + float(delta.x() / degreesPerPixel), m_value.y + float(delta.y() / degreesPerPixel)});
    event->accept();
}

void DisplacementPad::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Left:
        return set({m_value.x - 1, m_value.y});
    case Qt::Key_Right:
        return set({m_value.x + 1, m_value.y});
    case Qt::Key_Up:
        return set({m_value.x, m_value.y + 1});
    case Qt::Key_Down:
        return set({m_value.x, m_value.y - 1});
    default:
        QWidget::keyPressEvent(event);
    }
}

void DisplacementPad::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    const QPointF centre(width() / 2.0, height() / 2.0);
    painter.setPen(QPen(palette().color(QPalette::Mid), 1));
    painter.drawLine(QPointF(0, centre.y()), QPointF(width(), centre.y()));
    painter.drawLine(QPointF(centre.x(), 0), QPointF(centre.x(), height()));
    painter.drawEllipse(centre, width() / 2.0 - 0.5, height() / 2.0 - 0.5);
    const QColor mark = palette().color(QPalette::Highlight);
    const QPointF spot = spotOf(m_value);
    painter.setPen(QPen(mark, 2));
    painter.drawLine(centre, spot);
    painter.setPen(hasFocus() ? QPen(palette().color(QPalette::Text), 1) : QPen(Qt::NoPen));
    painter.setBrush(mark);
    painter.drawEllipse(spot, dotRadius, dotRadius);
}
