#include "ui/widgets/qcolorpicker.h"

#include <QColorDialog>
#include <QMenu>
#include <QPainter>
#include <QPixmap>

namespace {

constexpr int side = 12; // pixels of the swatch

QIcon swatch(uint32_t color, qreal ratio)
{
    QPixmap pixmap(QSize(side, side) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    const QRectF rect(0.5, 0.5, side - 1, side - 1);
    painter.setPen(QColor(0, 0, 0, 128));
    if (color != QColorPicker::unset) {
        painter.setBrush(QColor::fromRgb(color & 0xffffff));
        painter.drawRect(rect);
    } else {
        painter.setPen(QColor(128, 128, 128));
        painter.drawRect(rect);
        painter.drawLine(rect.bottomLeft(), rect.topRight());
    }
    return QIcon(pixmap);
}

} // namespace

QColorPicker::QColorPicker(const std::vector<uint32_t>& palette, QWidget* parent) : QToolButton(parent)
{
    auto* menu = new QMenu(this);
    for (const uint32_t color : palette)
        menu->addAction(swatch(color, devicePixelRatioF()), QColor::fromRgb(color).name(), this,
                        [this, color] { pick(color); });
    menu->addSeparator();
    menu->addAction(tr("Other..."), this, &QColorPicker::pickOther);
    menu->addAction(swatch(unset, devicePixelRatioF()), tr("No Color"), this, [this] { pick(unset); });
    setMenu(menu);
    setPopupMode(QToolButton::InstantPopup);
    setFocusPolicy(Qt::StrongFocus);
    setIconSize(QSize(side, side));
    setIcon(swatch(unset, devicePixelRatioF()));
}

void QColorPicker::setColor(uint32_t color)
{
    if (color == m_color)
        return;
    m_color = color;
    setIcon(swatch(color, devicePixelRatioF()));
}

void QColorPicker::pick(uint32_t color)
{
    if (color == m_color)
        return;
    setColor(color);
    Q_EMIT colorPicked(color);
}

void QColorPicker::pickOther()
{
    const QColor start = m_color == unset ? QColor(Qt::white) : QColor::fromRgb(m_color & 0xffffff);
    const QColor chosen = QColorDialog::getColor(start, window(), toolTip());
    if (chosen.isValid())
        pick(chosen.rgb() & 0xffffff);
}
