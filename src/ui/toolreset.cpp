#include "ui/toolreset.h"

#include "display/channelsdisplay.h"
#include "plugins/plugincall.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QComboBox>
#include <QDebug>
#include <QDoubleSpinBox>
#include <QSpinBox>

namespace {

// Nothing for a widget that is no option.
QVariant valueOf(const QWidget* control)
{
    if (const auto* number = qobject_cast<const QDoubleSpinBox*>(control))
        return number->value();
    if (const auto* number = qobject_cast<const QSpinBox*>(control))
        return number->value();
    if (const auto* slider = qobject_cast<const QAbstractSlider*>(control))
        return slider->value();
    if (const auto* list = qobject_cast<const QComboBox*>(control))
        return list->currentIndex();
    if (const auto* button = qobject_cast<const QAbstractButton*>(control))
        return button->isCheckable() ? QVariant(button->isChecked()) : QVariant();
    return {};
}

// With the signals that a user's own change sends.
void setValue(QWidget* control, const QVariant& value)
{
    if (auto* decimal = qobject_cast<QDoubleSpinBox*>(control))
        return decimal->setValue(value.toDouble());
    if (auto* number = qobject_cast<QSpinBox*>(control))
        return number->setValue(value.toInt());
    if (auto* slider = qobject_cast<QAbstractSlider*>(control))
        return slider->setValue(value.toInt());
    if (auto* list = qobject_cast<QComboBox*>(control)) {
        list->setCurrentIndex(value.toInt());
        Q_EMIT list->activated(list->currentIndex());
        return;
    }
    auto* button = static_cast<QAbstractButton*>(control);
    button->click();
    button->setChecked(value.toBool()); // where it could not be clicked
}

} // namespace

ToolReset::ToolReset(ChannelsDisplay& display, QObject* parent)
    : QObject(parent),
      IEvent(QStringLiteral("ToolReset")),
      m_display(display)
{
}

void ToolReset::remember(QWidget* page)
{
    for (QWidget* control : page->findChildren<QWidget*>()) {
        const QVariant value = valueOf(control);
        if (!value.isValid() || control->property("document").toBool())
            continue;
        const QVariant factory = control->property("factory");
        m_options.push_back({control, factory.isValid() ? factory : value});
    }
}

void ToolReset::resetAll()
{
    resetTimeCursor();
    reset3D();
    resetPan();
    resetZoom();
    resetSettings();
}

void ToolReset::resetTimeCursor()
{
    m_display.moveToStartOfProject();
}

void ToolReset::reset3D()
{
    if (m_display.hasProject())
        postEvent(this, EventId::DisplayDisplacementChange, Displacement(), this);
}

void ToolReset::resetPan()
{
    const Area limits = m_display.limits();
    Area area = m_display.viewArea();
    area.x = limits.x;
    area.y = limits.y;
    m_display.showArea(area);
}

void ToolReset::resetZoom()
{
    m_display.zoomFullyOut();
    m_display.showPowerRange(PowerRange());
}

void ToolReset::resetSettings()
{
    const QList<Option> options = m_options;
    for (const Option& option : options) {
        QString cause;
        // Whoever listens may be a plug-in.
        const auto done = callPlugin(cause, [&option] {
            if (option.control && valueOf(option.control) != option.value)
                setValue(option.control, option.value);
            return true;
        });
        if (!done)
            qWarning().noquote() << "an option of a tool was not taken back:" << cause;
    }
}
