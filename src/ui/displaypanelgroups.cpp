#include "ui/displaypanelgroups.h"

#include "display/displacement.h"
#include "display/displacementpad.h"
#include "display/properties.h"
#include "display/scales/colormaps.h"
#include "display/scales/unitwords.h"
#include "ui/displaypanel.h"
#include "ui/widgets/qlineeditext.h"

#include <QAction>
#include <QFormLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace {

enum Row { Colors, Amplitude, Brightness, Opacity, Window, Size, Resolution, Wave, Time, Frequency, Relief };

struct GroupRow
{
    const char* title;
    const char* icon;
    const char* resetTip;
    const char* enableProperty;
    const char* showProperty;
};

constexpr GroupRow groupRows[] = {
    {QT_TRANSLATE_NOOP("DisplayPanel", "Color Mapping"), "layers",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset Composite View"), "enablecompositesettings",
     "showcompositesettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "Amplitude"), "exposure",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset Amplitude"), "enableamplitudesettings",
     "showamplitudesettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "Brightness Curve"), "gamma2",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset Brightness Curve"), "enablegammasettings", "showgammasettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "Selection Opacity"), "select",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset Selection Opacity"), "enableselectionopacitysettings",
     "showselectionopacitysettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "FFT Window"), "window",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset FFT Window"), "enablewindowsettings", "showwindowsettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "FFT Size"), "sampling",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset FFT Size"), "enablesizesettings", "showsizesettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "Resolution"), "timesharpen",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset Resolution"), "enableresolutionsettings",
     "showresolutionsettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "Wave Range"), "waverange",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset Wave Range"), "enablewavesettings", "showwavesettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "Time Range"), "timerange",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset Time Range"), "enabletimesettings", "showtimesettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "Frequency Range"), "freqrange",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset Frequency Range"), "enablefreqsettings", "showfreqsettings"},
    {QT_TRANSLATE_NOOP("DisplayPanel", "3D Range"), "3drange",
     QT_TRANSLATE_NOOP("DisplayPanel", "Reset 3D Range"), "enable3dsettings", "show3dsettings"},
};

constexpr double freqStep = 100; // Hz
constexpr double powerStep = 0.1;

double defaultNumber(const char* key, double fallback)
{
    const double value = defaultSetting(key, fallback).toDouble();
    return std::isfinite(value) ? value : fallback;
}

// As if the user had typed it.
void enter(QLineEditExt* field, double value)
{
    field->setValue(value);
    Q_EMIT field->valueEdited(field->value());
}

QIcon iconOf(const char* name)
{
    return QIcon(QStringLiteral(":/icons/%1.png").arg(QLatin1String(name)));
}

} // namespace

QVariant defaultSetting(const char* key, const QVariant& fallback)
{
    const QVariantHash defaults = propertyOr("defaultsettings", {}).toHash();
    return defaults.value(QString::fromLatin1(key), propertyOr(key, fallback));
}

// --- the list of colour maps ------------------------------------------------------------------------

ColormapCombo::ColormapCombo(QWidget* parent) : QComboBox(parent)
{
    setObjectName(QStringLiteral("colormap"));
    for (int i = 0; i < colormapCount(); ++i)
        addItem(QPixmap::fromImage(colormapImage(i, 48, 2)), colormapToString(i));
    setIconSize(QSize(48, 12));
}

void ColormapCombo::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QRect inside = rect().adjusted(1, 1, -1, -1);
    painter.drawImage(inside.topLeft(), colormapImage(currentIndex(), inside.width(), inside.height(),
                                                      float(devicePixelRatioF()), font()));
    painter.setPen(hasFocus() ? palette().color(QPalette::Highlight) : palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

// --- groups -----------------------------------------------------------------------------------------

QWidget* DisplayPanel::addGroup(int index, std::function<void()> reset)
{
    const GroupRow& row = groupRows[index];
    const QString title = tr(row.title);
    auto* box = new QWidget(this);
    box->setObjectName(QStringLiteral("displaygroup"));
    auto* icon = new QLabel(box);
    icon->setPixmap(iconOf(row.icon).pixmap(16, 16));
    icon->setAccessibleName(title);
    auto* name = new QLabel(title, box);
    name->setObjectName(QStringLiteral("displaytitle"));
    auto* button = new QToolButton(box);
    button->setObjectName(QStringLiteral("compacticon"));
    button->setIcon(iconOf("reset"));
    button->setToolTip(tr(row.resetTip));
    button->setAccessibleName(tr(row.resetTip));
    button->setFocusPolicy(Qt::StrongFocus);
    connect(button, &QToolButton::clicked, this, reset);
    auto* header = new QHBoxLayout;
    header->setSpacing(6);
    header->addWidget(icon);
    header->addWidget(name, 1);
    header->addWidget(button);
    auto* body = new QWidget(box);
    auto* form = new QFormLayout(body);
    form->setContentsMargins(22, 0, 0, 0);
    form->setVerticalSpacing(3);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(8, 4, 8, 6);
    layout->setSpacing(3);
    layout->addLayout(header);
    layout->addWidget(body);
    m_column->addWidget(box);

    QAction* shown = m_menu->addAction(title);
    shown->setCheckable(true);
    const bool enabled = propertyOr(row.enableProperty, true).toBool();
    shown->setVisible(enabled);
    connect(shown, &QAction::toggled, box, &QWidget::setVisible);
    const bool on = enabled && propertyOr(row.showProperty, true).toBool();
    shown->setChecked(on);
    box->setVisible(on);
    m_groups.push_back({box, shown, row.enableProperty, row.showProperty, std::move(reset)});
    return body;
}

QLineEditExt* DisplayPanel::addField(QWidget* body, const QString& label, const QString& tip)
{
    auto* field = new QLineEditExt(body);
    field->setObjectName(QStringLiteral("small"));
    field->setToolTip(tip.isEmpty() ? QString(label).remove(QLatin1Char(':')) : tip);
    field->setAccessibleName(QString(label).remove(QLatin1Char(':')));
    auto* name = new QLabel(label, body);
    name->setObjectName(QStringLiteral("displaylabel"));
    name->setBuddy(field);
    static_cast<QFormLayout*>(body->layout())->addRow(name, field);
    return field;
}

void DisplayPanel::buildColors()
{
    QWidget* body = addGroup(Colors, [this] {
        m_composite->setChecked(defaultSetting("defaultcomposite", false).toBool());
        postEvent(this, EventId::DisplayCompositeEnable, m_composite->isChecked(), this);
        m_colormap->setCurrentIndex(
            colormapFromString(defaultSetting("defaultcolormap", "Laguna").toString()));
    });
    auto* form = static_cast<QFormLayout*>(body->layout());
    m_composite = new QPushButton(tr("Composite View"), body);
    m_composite->setCheckable(true);
    m_composite->setChecked(propertyOr("defaultcomposite", false).toBool());
    m_composite->setToolTip(tr("Show the sum of the layers in the colors of the map"));
    connect(m_composite, &QPushButton::clicked, this,
            [this](bool on) { postEvent(this, EventId::DisplayCompositeEnable, on, this); });
    form->addRow(m_composite);
    m_colormap = new ColormapCombo(body);
    m_colormap->setToolTip(tr("Color Map"));
    m_colormap->setAccessibleName(tr("Color Map"));
    m_colormap->setCurrentIndex(colormapFromString(propertyOr("defaultcolormap", "Laguna").toString()));
    connect(m_colormap, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this](int index) { postEvent(this, EventId::DisplayColormapChange, int32_t(index), this); });
    form->addRow(m_colormap);
}

void DisplayPanel::buildAmplitude()
{
    QWidget* body = addGroup(Amplitude, [this] {
        enter(m_lowest, defaultNumber("defaultlowdb", -90));
        enter(m_highest, defaultNumber("defaulthighdb", -18));
    });
    const auto add = [&](const QString& label, double low, double high, double value, EventId id) {
        QLineEditExt* field = addField(body, label);
        field->setWords(QLineEditExt::plainNumber(0, QStringLiteral(" dB")));
        field->setRange(low, high);
        field->setValue(value);
        connect(field, &QLineEditExt::valueEdited, this,
                [this, id](double db) { postEvent(this, id, float(db), this); });
        return field;
    };
    m_lowest = add(tr("Min Amplitude:"), -120, -60, propertyOr("defaultlowdb", -90).toDouble(),
                   EventId::DisplayLowdBChange);
    m_highest = add(tr("Max Amplitude:"), -60, 20, propertyOr("defaulthighdb", -18).toDouble(),
                    EventId::DisplayHighdBChange);
}

void DisplayPanel::buildBrightness()
{
    const auto exponent = [](double gamma) { return gamma > 0 ? std::log2(gamma) + 1 : 0; };
    QWidget* body = addGroup(
        Brightness, [this, exponent] { enter(m_brightness, exponent(defaultNumber("defaultgamma", 0.5))); });
    m_brightness = addField(body, tr("Brightness Curve:"),
                            tr("Brightness Curve (%1)").arg(QStringLiteral("log2(gamma)+1")));
    m_brightness->setWords(QLineEditExt::plainNumber(1));
    m_brightness->setRange(-1, 1);
    m_brightness->setStep(0.1);
    m_brightness->setValue(exponent(propertyOr("defaultgamma", 0.5).toDouble()));
    connect(m_brightness, &QLineEditExt::valueEdited, this, [this](double value) {
        postEvent(this, EventId::DisplayGammaChange, float(std::exp2(value - 1)), this);
    });
}

void DisplayPanel::buildOpacity()
{
    QWidget* body =
        addGroup(Opacity, [this] { enter(m_opacity, defaultNumber("defaultselectionopacity", 0.3) * 100); });
    m_opacity = addField(body, tr("Selection Opacity:"));
    m_opacity->setWords(QLineEditExt::plainNumber(0, QStringLiteral(" %")));
    m_opacity->setRange(0, 100);
    m_opacity->setStep(2);
    m_opacity->setValue(propertyOr("defaultselectionopacity", 0.3).toDouble() * 100);
    connect(m_opacity, &QLineEditExt::valueEdited, this, [this](double percent) {
        postEvent(this, EventId::DisplaySelectionOpacityChange, float(percent / 100), this);
    });
}

void DisplayPanel::buildWindow()
{
    QWidget* body = addGroup(Window, [this] {
        const QString name = defaultSetting("defaultwindow", "Blackman-Harris").toString();
        m_window->setCurrentText(windowTypeToString(windowTypeFromString(name)));
    });
    m_window = new QComboBox(body);
    for (int i = 0; i < windowTypeCount; ++i)
        m_window->addItem(windowTypeToString(WindowType(i)));
    m_window->setToolTip(tr("Spectral Dynamic Range"));
    m_window->setAccessibleName(tr("FFT Window"));
    m_window->setCurrentText(
        windowTypeToString(windowTypeFromString(propertyOr("defaultwindow", "Blackman-Harris").toString())));
    connect(m_window, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this] {
        const WindowType type = windowTypeFromString(m_window->currentText());
        TransformSettings settings = convert().settings;
        if (type == settings.windowType)
            return;
        settings.windowType = type;
        postTransform(settings);
    });
    static_cast<QFormLayout*>(body->layout())->addRow(m_window);
}

void DisplayPanel::buildSize()
{
    QWidget* body = addGroup(Size, [this] { enter(m_size, defaultNumber("defaulttransformsize", 2048)); });
    m_size = addField(body, tr("FFT Size:"), tr("Time/Frequency Resolution Balance"));
    m_size->setWords(QLineEditExt::plainNumber(0));
    m_size->setChoices(frameSizes(propertyOr("mintransformsize", 32).toInt(),
                                  propertyOr("maxtransformsize", 32768).toInt()));
    m_size->setValue(propertyOr("defaulttransformsize", 2048).toDouble());
    connect(m_size, &QLineEditExt::valueEdited, this, [this](double size) {
        TransformSettings settings = convert().settings;
        if (int32_t(size) == settings.frameSize)
            return;
        settings.frameSize = int32_t(size);
        postTransform(settings);
    });
    m_sizeText = new QLabel(tr("samples"), body);
    m_sizeText->setObjectName(QStringLiteral("displaylabel"));
    static_cast<QFormLayout*>(body->layout())->addRow(QString(), m_sizeText);
}

void DisplayPanel::buildResolution()
{
    QWidget* body = addGroup(Resolution, [this] {
        enter(m_resolution, defaultNumber("defaultoverlap", 2));
        enter(m_refinement, defaultNumber("defaultsharpening", 0) * 100);
    });
    m_resolution = addField(body, tr("Resolution:"), tr("Spectral Resolution (Overlapping)"));
    m_resolution->setWords(QLineEditExt::plainNumber(0, QStringLiteral(" x")));
    std::vector<double> choices;
    for (int i = std::max(1, propertyOr("minoverlap", 1).toInt()); i <= propertyOr("maxoverlap", 8).toInt();
         ++i)
        choices.push_back(i);
    m_resolution->setChoices(std::move(choices));
    m_resolution->setValue(propertyOr("defaultoverlap", 2).toDouble());
    connect(m_resolution, &QLineEditExt::valueEdited, this, &DisplayPanel::setResolution);
    m_refinement = addField(body, tr("Refinement:"));
    m_refinement->setWords(QLineEditExt::plainNumber(0));
    m_refinement->setRange(0, 100);
    m_refinement->setStep(10);
    m_refinement->setValue(propertyOr("defaultsharpening", 0).toDouble() * 100);
    connect(m_refinement, &QLineEditExt::valueEdited, this, &DisplayPanel::postSharpening);
}

// The texts of magnitudes have no sign in decibels: an edge stays on the side of zero where it is.
void DisplayPanel::buildWave()
{
    QWidget* body = addGroup(Wave, [this] { enterPower(-1, 1); });
    const QString labels[] = {tr("Lowest Power"), tr("Power Range"), tr("Highest Power")};
    for (int i = 0; i < 3; ++i) {
        QLineEditExt* field = m_wave[i] = addField(body, labels[i]);
        const auto toText = [this](double value) {
            return convert().powerToString(value) + QLatin1Char(' ') + convert().powerSuffix();
        };
        const auto toValue = [this, field](const QString& text) -> std::optional<double> {
            const std::optional<double> number =
                QLineEditExt::plainNumber(2, convert().powerSuffix()).toValue(text);
            if (!number)
                return std::nullopt;
            if (convert().powerUnit == PowerUnit::Percents)
                return *number / 100;
            if (convert().powerUnit == PowerUnit::Decibel)
                return std::copysign(std::pow(10.0, *number / 20), field->value());
            return number;
        };
        field->setWords({toText, toValue});
        field->setStep(powerStep);
    }
    connect(m_wave[0], &QLineEditExt::valueEdited, this,
            [this](double v) { enterPower(v, powerRange().high); });
    connect(m_wave[1], &QLineEditExt::valueEdited, this, [this](double v) {
        const double middle = (powerRange().low + powerRange().high) / 2;
        enterPower(middle - v / 2, middle + v / 2);
    });
    connect(m_wave[2], &QLineEditExt::valueEdited, this,
            [this](double v) { enterPower(powerRange().low, v); });
}

void DisplayPanel::buildTime()
{
    QWidget* body = addGroup(Time, [this] {
        const Area whole = limits();
        enterArea({whole.x, viewArea().y, whole.width, viewArea().height});
    });
    const QString labels[] = {tr("Start Time"), tr("Time Length"), tr("End Time")};
    for (int i = 0; i < 3; ++i) {
        m_time[i] = addField(body, labels[i]);
        m_time[i]->setWords(
            {[this](double v) {
                 return convert().timeToString(v) + QLatin1Char(' ') + convert().timeSuffix();
             },
             [this](const QString& text) { return std::optional(double(convert().stringToTime(text))); }});
    }
    connect(m_time[0], &QLineEditExt::valueEdited, this, [this](double start) {
        enterArea({start, viewArea().y, viewArea().x + viewArea().width - start, viewArea().height});
    });
    connect(m_time[1], &QLineEditExt::valueEdited, this, [this](double length) {
        enterArea({viewArea().x, viewArea().y, length, viewArea().height});
    });
    connect(m_time[2], &QLineEditExt::valueEdited, this, [this](double end) {
        enterArea({viewArea().x, viewArea().y, end - viewArea().x, viewArea().height});
    });
}

void DisplayPanel::buildFrequency()
{
    QWidget* body = addGroup(Frequency, [this] {
        const Area whole = limits();
        enterArea({viewArea().x, whole.y, viewArea().width, whole.height});
    });
    const QString labels[] = {tr("Bottom Frequency"), tr("Frequency Range"), tr("Top Frequency")};
    for (int i = 0; i < 3; ++i) {
        m_frequency[i] = addField(body, labels[i]);
        m_frequency[i]->setStep(freqStep);
        m_frequency[i]->setWords(
            {[this](double v) {
                 return convert().freqToString(v) + QLatin1Char(' ') + convert().freqSuffix();
             },
             [this](const QString& text) { return std::optional(convert().stringToFreq(text)); }});
    }
    connect(m_frequency[0], &QLineEditExt::valueEdited, this, [this](double bottom) {
        enterArea({viewArea().x, bottom, viewArea().width, viewArea().y + viewArea().height - bottom});
    });
    connect(m_frequency[1], &QLineEditExt::valueEdited, this, [this](double height) {
        enterArea({viewArea().x, viewArea().y, viewArea().width, height});
    });
    connect(m_frequency[2], &QLineEditExt::valueEdited, this, [this](double top) {
        enterArea({viewArea().x, viewArea().y, viewArea().width, top - viewArea().y});
    });
}

void DisplayPanel::buildRelief()
{
    auto* pad = new DisplacementPad;
    QWidget* body = addGroup(Relief, [pad] { pad->reset(); });
    static_cast<QFormLayout*>(body->layout())->addRow(pad);
    const QString labels[] = {tr("3D (horizontal)"), tr("3D (vertical)")};
    for (int i = 0; i < 2; ++i) {
        m_relief[i] = addField(body, labels[i]);
        m_relief[i]->setWords(QLineEditExt::plainNumber(0, tr(" screen pixels")));
        connect(m_relief[i], &QLineEditExt::valueEdited, this, [this] {
            const Displacement value =
                displacement::limited({float(m_relief[0]->value()), float(m_relief[1]->value())},
                                      propertyOr("maxdisplace", 128).toFloat());
            postEvent(this, EventId::DisplayDisplacementChange, value, nullptr);
        });
    }
}
