#include "display/qsplitterext.h"

#include "display/devicegrid.h"
#include "display/properties.h"

#include <algorithm>
#include <cmath>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalBlocker>

namespace {

constexpr int handleHeight = 5;    // logical pixels
constexpr int glideDuration = 160; // ms
constexpr float keyStep = 0.02f;   // of the row
constexpr double gripWidth = 24;   // logical pixels

float configuredRatio()
{
    const float ratio = propertyOr("waveformdisplay", 0.1).toFloat();
    return std::isfinite(ratio) ? std::clamp(ratio, 0.0f, 1.0f) : 0.1f;
}

bool isHandleKey(int key)
{
    return key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_Space;
}

} // namespace

QSplitterHandleExt::QSplitterHandleExt(Qt::Orientation orientation, QSplitter* parent)
    : QSplitterHandle(orientation, parent),
      IEvent(QStringLiteral("QSplitterHandleExt")),
      m_ratio(configuredRatio()),
      m_pressRatio(m_ratio)
{
    setObjectName(QStringLiteral("channelsplitter"));
    setToolTip(tr("Drag: share of the waveform. Click: usual share."));
    setAccessibleName(tr("Splitter between waveform and spectrogram"));
    setFocusPolicy(Qt::TabFocus);
    m_animation.setDuration(glideDuration);
    m_animation.setEasingCurve(QEasingCurve::OutCubic);
    connect(&m_animation, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setRatio(value.toFloat()); });
    // The last step is interpolated too, and may miss its end by a bit.
    connect(&m_animation, &QVariantAnimation::finished, this,
            [this] { setRatio(m_animation.endValue().toFloat()); });
}

void QSplitterHandleExt::displayValueEvent(EventId id, const float& value)
{
    if (id == EventId::DisplaySplitterRatioChange)
        m_ratio = value;
}

void QSplitterHandleExt::setRatio(float ratio)
{
    // To all: the rows are moved by whoever holds them.
    postEvent(this, EventId::DisplaySplitterRatioChange, ratio, nullptr);
}

void QSplitterHandleExt::glide(float from)
{
    m_animation.stop();
    m_animation.setStartValue(from);
    m_animation.setEndValue(configuredRatio());
    m_animation.start();
}

void QSplitterHandleExt::mousePressEvent(QMouseEvent* event)
{
    m_animation.stop();
    m_pressRatio = m_ratio;
    m_pressPlace = event->globalPos();
    QSplitterHandle::mousePressEvent(event);
}

void QSplitterHandleExt::mouseReleaseEvent(QMouseEvent* event)
{
    QSplitterHandle::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && event->globalPos() == m_pressPlace)
        glide(m_pressRatio);
}

// The keys that the handle takes while it has the focus are shortcuts of the window otherwise.
bool QSplitterHandleExt::event(QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = static_cast<QKeyEvent&>(*event);
        if (key.modifiers() == Qt::NoModifier && isHandleKey(key.key())) {
            event->accept();
            return true;
        }
    }
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut)
        update();
    return QSplitterHandle::event(event);
}

void QSplitterHandleExt::keyPressEvent(QKeyEvent* event)
{
    if (event->modifiers() != Qt::NoModifier || !isHandleKey(event->key())) {
        QSplitterHandle::keyPressEvent(event);
        return;
    }
    if (event->key() == Qt::Key_Space)
        glide(m_ratio);
    else
        setRatio(std::clamp(m_ratio + (event->key() == Qt::Key_Down ? keyStep : -keyStep), 0.0f, 1.0f));
}

void QSplitterHandleExt::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), colorOr("colorback", "#262626"));
    const QColor grip = hasFocus()     ? colorOr("coloredit", "#3399ff")
                        : underMouse() ? colorOr("colortext", "#e0e0e0")
                                       : colorOr("colorhighlight", "#676767");
    const double middle = width() / 2.0;
    painter.fillRect(
        DeviceGrid(*this).horizontal(height() / 2.0, middle - gripWidth / 2, middle + gripWidth / 2), grip);
}

void QSplitterHandleExt::enterEvent(QEvent*)
{
    update();
}

void QSplitterHandleExt::leaveEvent(QEvent*)
{
    update();
}

QSplitterExt::QSplitterExt(QWidget* parent) : QSplitter(Qt::Vertical, parent)
{
    setHandleWidth(handleHeight);
}

QSplitterHandle* QSplitterExt::createHandle()
{
    return new QSplitterHandleExt(orientation(), this);
}

void QSplitterExt::setRatio(float ratio)
{
    m_ratio = std::isfinite(ratio) ? std::clamp(ratio, 0.0f, 1.0f) : 0.0f;
    const QSignalBlocker blocker(this);
    const int free = std::max(0, height() - handleWidth());
    const int upper = std::min(free, int(std::lround(double(m_ratio) * height())));
    setSizes({upper, free - upper});
}

void QSplitterExt::resizeEvent(QResizeEvent* event)
{
    QSplitter::resizeEvent(event);
    setRatio(m_ratio);
}
