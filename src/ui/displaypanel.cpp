#include "ui/displaypanel.h"

#include "display/properties.h"
#include "display/scales/colormaps.h"
#include "display/viewgeometry.h"
#include "ui/displaypanelgroups.h"
#include "ui/widgets/qlineeditext.h"

#include <QAction>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

DisplayPanel::DisplayPanel(QWidget* parent)
    : QWidget(parent),
      ViewState(QStringLiteral("DisplayPanel")),
      m_column(nullptr),
      m_menu(new QMenu(this))
{
    setObjectName(QStringLiteral("displaypanel"));
    auto* menuButton = new QToolButton(this);
    menuButton->setObjectName(QStringLiteral("compacticon"));
    menuButton->setIcon(QIcon(QStringLiteral(":/icons/menu.png")));
    menuButton->setToolTip(tr("Choose what is shown"));
    menuButton->setAccessibleName(tr("Panel Menu"));
    menuButton->setFocusPolicy(Qt::StrongFocus);
    menuButton->setMenu(m_menu);
    menuButton->setPopupMode(QToolButton::InstantPopup);

    auto* groups = new QWidget;
    groups->setObjectName(QStringLiteral("displaygroups"));
    m_column = new QVBoxLayout(groups);
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(0);
    buildColors();
    buildAmplitude();
    buildBrightness();
    buildOpacity();
    buildWindow();
    buildSize();
    buildResolution();
    buildWave();
    buildTime();
    buildFrequency();
    buildRelief();
    m_column->addStretch(1);

    m_menu->addSeparator();
    QAction* all = m_menu->addAction(tr("Reset All Settings"), this, &DisplayPanel::resetAll);
    all->setToolTip(tr("Reset All"));
    m_menu->addAction(tr("Reset Panel"), this, &DisplayPanel::resetVisibility);

    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setAccessibleName(tr("Display settings"));
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(groups);
    auto* header = new QHBoxLayout;
    header->setContentsMargins(6, 2, 6, 2);
    header->addStretch(1);
    header->addWidget(menuButton);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addLayout(header);
    layout->addWidget(scroll, 1);
    viewStateChanged();
}

QAction* DisplayPanel::groupAction(const QString& title) const
{
    for (const Group& group : m_groups)
        if (group.shown->text() == title)
            return group.shown;
    return nullptr;
}

std::vector<double> DisplayPanel::frameSizes(int smallest, int largest)
{
    std::vector<double> sizes;
    for (int64_t octave = std::max(4, smallest); octave < largest; octave *= 2)
        for (int64_t quarter = 0; quarter < 4; ++quarter)
            if (const int64_t size = octave + quarter * octave / 4; size < largest)
                sizes.push_back(double(size));
    sizes.push_back(double(largest));
    return sizes;
}

void DisplayPanel::resetAll()
{
    for (const Group& group : m_groups)
        group.reset();
}

void DisplayPanel::resetVisibility()
{
    for (const Group& group : m_groups)
        group.shown->setChecked(defaultSetting(group.showProperty, true).toBool() &&
                                propertyOr(group.enableProperty, true).toBool());
}

// --- what the user sets -----------------------------------------------------------------------------

void DisplayPanel::postTransform(const TransformSettings& settings)
{
    postEvent(this, EventId::TransformChange, settings, nullptr);
}

void DisplayPanel::setResolution(double value)
{
    const int32_t ratio = std::max(1, propertyOr("timeoverlapratio", 4).toInt());
    TransformSettings settings = convert().settings;
    const auto padding = int32_t(value);
    // No more frames than samples in one.
    const int32_t overlap = std::min(padding * ratio, std::max(1, settings.frameSize));
    if (padding == settings.zeroPadding && overlap == settings.overlap)
        return;
    settings.zeroPadding = padding;
    settings.overlap = overlap;
    postTransform(settings);
}

void DisplayPanel::postSharpening(double percent)
{
    const auto factor = float(percent / 100);
    postEvent(this, EventId::DisplayTimeSharpenChange, factor, this);
    postEvent(this, EventId::DisplayFreqSharpenChange, factor, this);
}

void DisplayPanel::enterArea(Area area)
{
    if (area.width < 0) {
        area.x += area.width;
        area.width = -area.width;
    }
    if (area.height < 0) {
        area.y += area.height;
        area.height = -area.height;
    }
    if (lockBottomTo0())
        area.y = 0;
    const Area whole = limits();
    const double left = std::max(area.x, whole.x);
    const double right = std::min(area.x + area.width, whole.x + whole.width);
    const double bottom = std::max(area.y, whole.y);
    const double top = std::min(area.y + area.height, whole.y + whole.height);
    const Area common{left, bottom, right - left, top - bottom};
    if (convert().settings.frameSize > 0)
        showArea(viewgeometry::isVisible(common) ? common : whole);
    viewStateChanged(); // what was refused goes from the field
}

void DisplayPanel::enterPower(double low, double high)
{
    showPowerRange({low, high});
    viewStateChanged();
}

// --- what events tell -------------------------------------------------------------------------------

void DisplayPanel::displayEnableEvent(EventId id, const bool& on)
{
    if (id == EventId::DisplayCompositeEnable)
        m_composite->setChecked(on);
    ViewState::displayEnableEvent(id, on);
}

void DisplayPanel::displayValueEvent(EventId id, const float& value)
{
    if (id == EventId::DisplayLowdBChange)
        m_lowest->setValue(double(value));
    else if (id == EventId::DisplayHighdBChange)
        m_highest->setValue(double(value));
    else if (id == EventId::DisplayGammaChange)
        m_brightness->setValue(value > 0 ? std::log2(double(value)) + 1 : 0);
    else if (id == EventId::DisplaySelectionOpacityChange)
        m_opacity->setValue(double(value) * 100);
    else if (id == EventId::DisplayTimeSharpenChange)
        m_refinement->setValue(double(value) * 100);
}

void DisplayPanel::colormapEvent(EventId, const int32_t& colormap)
{
    const QSignalBlocker blocker(m_colormap);
    m_colormap->setCurrentIndex(std::clamp(int(colormap), 0, m_colormap->count() - 1));
    m_colormap->update();
}

void DisplayPanel::displacementEvent(EventId, const Displacement& displacement)
{
    m_relief[0]->setValue(double(displacement.x));
    m_relief[1]->setValue(double(displacement.y));
}

// --- showing ----------------------------------------------------------------------------------------

void DisplayPanel::viewStateChanged()
{
    const double rate = convert().format.sampleRate;
    const Area& area = viewArea();
    setEnabled(convert().format.channels > 0);
    for (QLineEditExt* field : m_time)
        field->setStep(std::max(1.0, rate)); // a second
    m_time[0]->setValue(area.x);
    m_time[1]->setValue(area.width);
    m_time[2]->setValue(area.x + area.width);
    m_frequency[0]->setValue(area.y);
    m_frequency[1]->setValue(area.height);
    m_frequency[2]->setValue(area.y + area.height);
    m_wave[0]->setValue(powerRange().low);
    m_wave[1]->setValue(powerRange().high - powerRange().low);
    m_wave[2]->setValue(powerRange().high);
    const TransformSettings& settings = convert().settings;
    if (!settings.isValid())
        return;
    const QSignalBlocker blocker(m_window);
    m_window->setCurrentText(windowTypeToString(settings.windowType));
    m_size->setValue(settings.frameSize);
    m_resolution->setValue(settings.zeroPadding);
    const int32_t size = settings.frameSize;
    m_sizeText->setText(rate > 0 ? tr("samples (%1ms/%2Hz)")
                                       .arg(locale().toString(size / rate * 1000, 'f', 1))
                                       .arg(locale().toString(rate / size, 'f', 1))
                                 : tr("samples"));
}

// --- steps ------------------------------------------------------------------------------------------

void DisplayPanel::toggleCompositeView()
{
    m_composite->click();
}

void DisplayPanel::increaseColormap()
{
    m_colormap->setCurrentIndex(std::max(0, m_colormap->currentIndex() - 1));
}

void DisplayPanel::decreaseColormap()
{
    m_colormap->setCurrentIndex(std::min(m_colormap->count() - 1, m_colormap->currentIndex() + 1));
}

void DisplayPanel::increaseWindow()
{
    m_window->setCurrentIndex(std::max(0, m_window->currentIndex() - 1));
}

void DisplayPanel::decreaseWindow()
{
    m_window->setCurrentIndex(std::min(m_window->count() - 1, m_window->currentIndex() + 1));
}

void DisplayPanel::increaseGamma()
{
    m_brightness->stepBy(1);
}

void DisplayPanel::decreaseGamma()
{
    m_brightness->stepBy(-1);
}

void DisplayPanel::increaseLowestAmplitude()
{
    m_lowest->stepBy(1);
}

void DisplayPanel::decreaseLowestAmplitude()
{
    m_lowest->stepBy(-1);
}

void DisplayPanel::increaseHighestAmplitude()
{
    m_highest->stepBy(1);
}

void DisplayPanel::decreaseHighestAmplitude()
{
    m_highest->stepBy(-1);
}

void DisplayPanel::increaseSelectionOpacity()
{
    m_opacity->stepBy(1);
}

void DisplayPanel::decreaseSelectionOpacity()
{
    m_opacity->stepBy(-1);
}

void DisplayPanel::increaseSize()
{
    m_size->stepBy(1);
}

void DisplayPanel::decreaseSize()
{
    m_size->stepBy(-1);
}

void DisplayPanel::increaseResolution()
{
    m_resolution->stepBy(1);
}

void DisplayPanel::decreaseResolution()
{
    m_resolution->stepBy(-1);
}

void DisplayPanel::increaseSharpening()
{
    m_refinement->stepBy(1);
}

void DisplayPanel::decreaseSharpening()
{
    m_refinement->stepBy(-1);
}
