#include "ui/layerrow.h"

#include "model/newlayer.h"
#include "ui/panelbuttons.h"
#include "ui/widgets/qcolorpicker.h"
#include "ui/widgets/qlineeditext.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace {

constexpr int indent = 14;         // pixels for each group around a layer
constexpr int activeBar = 3;       // pixels that the sheet paints at the left edge of the active row
constexpr int deepest = 8;         // groups that are told apart; names would have no room
constexpr double silence = -120;   // dB; stands for a multiplier of 0
constexpr double loudest = 24;     // dB
constexpr double volumeStep = 0.5; // dB

// Decibels, with a word for silence.
QLineEditExt::Words volumeWords()
{
    const QLineEditExt::Words number = QLineEditExt::plainNumber(1, QStringLiteral(" dB"));
    return {[number](double value) {
                return value <= silence ? QStringLiteral("-inf dB") : number.toText(value);
            },
            [number](const QString& text) -> std::optional<double> {
                if (text.trimmed().startsWith(QLatin1String("-inf"), Qt::CaseInsensitive))
                    return silence;
                return number.toValue(text);
            }};
}

double toDecibels(float multiplier)
{
    return multiplier == 0 ? silence : 20 * std::log10(std::abs(double(multiplier)));
}

float toMultiplier(double decibels)
{
    return decibels <= silence ? 0.0f : float(std::pow(10, decibels / 20));
}

// A sheet finds an object by its new name only when it is told.
void polishAnew(QWidget& widget)
{
    widget.style()->unpolish(&widget);
    widget.style()->polish(&widget);
}

} // namespace

LayerRow::LayerRow(const ILayer& layer, int depth, bool compact, QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    auto* spacer = new QWidget(this);
    spacer->setObjectName(QStringLiteral("groupspacer"));
    spacer->setFixedWidth(std::min(depth, deepest) * indent);
    if (!compact) {
        m_picture = makeIconButton(this, "layershadow", tr("Open or Close Group"));
        m_picture->setEnabled(layer.type() == LayerTypeGroup);
        connect(m_picture, &QToolButton::clicked, this, &LayerRow::openToggled);
    }
    m_color = new QColorPicker(layerPalette(), this);
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("layername"));
    m_name->setStyleSheet(QStringLiteral("QLineEdit{border: 1px solid #40000000;}"));
    m_mute = makeSwitch(this, "mute", tr("Mute"), {});
    m_solo = makeSwitch(this, "solo", tr("Solo"), {});
    m_phase = makeSwitch(this, "phase", tr("Phase"), {});
    auto* label = new QLabel(tr("volume:"), this);
    label->setObjectName(QStringLiteral("small"));
    m_volume = new QLineEditExt(this);
    m_volume->setObjectName(QStringLiteral("small"));
    m_volume->setWords(volumeWords());
    m_volume->setRange(silence, loudest);
    m_volume->setStep(volumeStep);
    m_volume->setFixedWidth(54);
    label->setBuddy(m_volume);

    auto* head = new QHBoxLayout;
    head->setSpacing(4);
    head->addWidget(spacer);
    if (m_picture)
        head->addWidget(m_picture);
    head->addWidget(m_color);
    head->addWidget(m_name, 1);
    auto* mix = new QHBoxLayout;
    mix->setSpacing(3);
    for (QWidget* control : {m_mute, m_solo, m_phase})
        mix->addWidget(control);
    mix->addStretch(1);
    mix->addWidget(label);
    mix->addWidget(m_volume);
    auto* column = new QVBoxLayout(this);
    const int margin = compact ? 2 : 4;
    column->setContentsMargins(margin + activeBar, margin, margin, margin);
    column->setSpacing(3);
    column->addLayout(head);
    column->addLayout(mix);

    connect(m_name, &QLineEdit::editingFinished, this, [this] { Q_EMIT renamed(m_name->text()); });
    connect(m_mute, &QToolButton::clicked, this, &LayerRow::muted);
    connect(m_solo, &QToolButton::clicked, this, &LayerRow::soloed);
    connect(m_phase, &QToolButton::clicked, this, &LayerRow::inverted);
    connect(m_color, &QColorPicker::colorPicked, this, &LayerRow::colorPicked);
    connect(m_volume, &QLineEditExt::valueEdited, this,
            [this](double value) { Q_EMIT multiplierChanged(toMultiplier(value)); });
    for (QWidget* control : findChildren<QWidget*>())
        control->installEventFilter(this);
    showLayer(layer);
    setActive(false);
}

bool LayerRow::eventFilter(QObject* object, QEvent* event)
{
    if (event->type() == QEvent::FocusIn)
        Q_EMIT focused();
    return QWidget::eventFilter(object, event);
}

void LayerRow::showLayer(const ILayer& layer)
{
    m_icon = layer.type() != LayerTypeGroup ? "layershadow"
             : layer.isOpen()               ? "groupopenshadow"
                                            : "groupcloseshadow";
    showPicture();
    m_color->setColor(layer.color());
    m_color->setObjectName(layer.color() == QColorPicker::unset ? QStringLiteral("layernocolor")
                                                                : QStringLiteral("layercolor"));
    polishAnew(*m_color);
    if (m_name->text() != layer.name() && !(m_name->hasFocus() && m_name->isModified())) {
        m_name->setText(layer.name());
        m_name->setCursorPosition(0);
    }
    m_mute->setChecked(!layer.enabled());
    m_solo->setChecked(layer.solo());
    m_phase->setChecked(layer.polarity() < 0);
    m_volume->setValue(toDecibels(layer.multiplier()));
    tellNames(layer.name());
}

void LayerRow::showPicture()
{
    if (!m_picture || !m_icon)
        return;
    const QString path = QStringLiteral(":/icons/%1.png").arg(QLatin1String(m_icon));
    QIcon shown(path);
    shown.addFile(path, {}, QIcon::Disabled); // a layer's cannot be pressed, and is as bright
    m_picture->setIcon(shown);
}

void LayerRow::tellNames(const QString& name)
{
    const auto tell = [](QWidget* widget, const QString& words) {
        widget->setToolTip(words);
        widget->setAccessibleName(words);
    };
    if (m_picture)
        tell(m_picture, tr("Open or Close %1").arg(name));
    tell(m_color, tr("Color of %1").arg(name));
    tell(m_name, tr("Name of %1").arg(name));
    tell(m_mute, tr("Mute %1").arg(name));
    tell(m_solo, tr("Solo %1").arg(name));
    tell(m_phase, tr("Invert the Phase of %1").arg(name));
    tell(m_volume, tr("Volume of %1").arg(name));
}

void LayerRow::setActive(bool active)
{
    const QString name = active ? QStringLiteral("activeitem") : QStringLiteral("item");
    if (objectName() == name)
        return;
    setObjectName(name);
    polishAnew(*this);
    for (QWidget* child : findChildren<QWidget*>())
        polishAnew(*child);
}
