#include "ui/displaypanel.h"

#include "display/properties.h"
#include "display/scales/colormaps.h"
#include "display/viewgeometry.h"
#include "model/layerroot.h"
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
      IEvent(QStringLiteral("DisplayPanel")),
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
    showUnits();
    setEnabled(false); // until there is a project
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

void DisplayPanel::postTransform()
{
    showTransform();
    postEvent<TransformSettings>(this, EventId::TransformChange, m_transform, this);
}

void DisplayPanel::setResolution(double value)
{
    const int32_t ratio = std::max(1, propertyOr("timeoverlapratio", 4).toInt());
    const auto padding = int32_t(value);
    // No more frames than samples in one.
    const int32_t overlap = std::min(padding * ratio, std::max(1, m_transform.frameSize));
    if (padding == m_transform.zeroPadding && overlap == m_transform.overlap)
        return;
    m_transform.zeroPadding = padding;
    m_transform.overlap = overlap;
    postTransform();
}

void DisplayPanel::postSharpening(double percent)
{
    const auto factor = float(percent / 100);
    postEvent(this, EventId::DisplayTimeSharpenChange, factor, this);
    postEvent(this, EventId::DisplayFreqSharpenChange, factor, this);
}

void DisplayPanel::postArea(Area area)
{
    if (!m_layers || m_convert.format.sampleRate <= 0 || m_convert.format.channels < 1 ||
        m_transform.frameSize < 1)
        return showArea();
    if (area.width < 0) {
        area.x += area.width;
        area.width = -area.width;
    }
    if (area.height < 0) {
        area.y += area.height;
        area.height = -area.height;
    }
    if (m_lockBottomTo0)
        area.y = 0;
    const Area whole = m_layers->area();
    const double left = std::max(area.x, whole.x),
                 right = std::min(area.x + area.width, whole.x + whole.width);
    const double bottom = std::max(area.y, whole.y),
                 top = std::min(area.y + area.height, whole.y + whole.height);
    const Area common{left, bottom, right - left, top - bottom};
    m_area = viewgeometry::isVisible(common) ? common : whole;
    showArea();
    if (viewgeometry::isVisible(m_area))
        postEvent(this, EventId::DisplayAreaChange, m_area, this);
}

void DisplayPanel::postPower(double low, double high)
{
    if (std::isfinite(low) && std::isfinite(high) && low < high) {
        m_power = {low, high};
        postEvent(this, EventId::DisplayPowerChange, m_power, this);
    }
    showUnits();
}

// --- what events tell -------------------------------------------------------------------------------

void DisplayPanel::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    m_convert.format = format;
    setEnabled(format.channels > 0);
    for (QLineEditExt* field : m_time)
        field->setStep(std::max(1.0, format.sampleRate)); // a second
    showTransform();
    showUnits();
}

void DisplayPanel::transformEvent(EventId, const TransformSettings& settings)
{
    m_transform = settings;
    m_convert.settings = settings;
    showTransform();
    showUnits();
}

void DisplayPanel::timeBaseEvent(EventId id, const TimeBase& base)
{
    if (id == EventId::FrameRateChange) {
        m_convert.fps = base.frameRate;
    } else {
        m_convert.bpm = base.bpm;
        m_convert.beatsPerBar = base.beatsPerBar;
        m_convert.beatUnit = base.beatUnit;
    }
    showUnits();
}

void DisplayPanel::timeUnitEvent(EventId, const int32_t& unit)
{
    m_convert.timeUnit = TimeUnit(unit);
    showUnits();
}

void DisplayPanel::powerUnitEvent(EventId, const int32_t& unit)
{
    m_convert.powerUnit = PowerUnit(unit);
    showUnits();
}

void DisplayPanel::freqUnitEvent(EventId, const int32_t& unit)
{
    m_convert.freqUnit = FreqUnit(unit);
    showUnits();
}

void DisplayPanel::layerRootEvent(EventId, const LayerRoot& root)
{
    m_layers = root.project();
}

void DisplayPanel::displayEnableEvent(EventId id, const bool& on)
{
    if (id == EventId::DisplayCompositeEnable)
        m_composite->setChecked(on);
    else if (id == EventId::DisplayLockBottomTo0Enable)
        m_lockBottomTo0 = on;
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

void DisplayPanel::areaEvent(EventId, const Area& area)
{
    m_area = area;
    showArea();
}

void DisplayPanel::powerRangeEvent(EventId, const PowerRange& range)
{
    m_power = range;
    showUnits();
}

void DisplayPanel::displacementEvent(EventId, const Displacement& displacement)
{
    m_relief[0]->setValue(double(displacement.x));
    m_relief[1]->setValue(double(displacement.y));
}

// --- showing ----------------------------------------------------------------------------------------

void DisplayPanel::showArea()
{
    m_time[0]->setValue(m_area.x);
    m_time[1]->setValue(m_area.width);
    m_time[2]->setValue(m_area.x + m_area.width);
    m_frequency[0]->setValue(m_area.y);
    m_frequency[1]->setValue(m_area.height);
    m_frequency[2]->setValue(m_area.y + m_area.height);
}

void DisplayPanel::showTransform()
{
    const QSignalBlocker blocker(m_window);
    m_window->setCurrentText(windowTypeToString(m_transform.windowType));
    m_size->setValue(m_transform.frameSize);
    m_resolution->setValue(m_transform.zeroPadding);
    const double rate = m_convert.format.sampleRate;
    const int32_t size = m_transform.frameSize;
    m_sizeText->setText(rate > 0 && size > 0 ? tr("samples (%1ms/%2Hz)")
                                                   .arg(locale().toString(size / rate * 1000, 'f', 1))
                                                   .arg(locale().toString(rate / size, 'f', 1))
                                             : tr("samples"));
}

// Also what depends on units alone.
void DisplayPanel::showUnits()
{
    m_wave[0]->setValue(m_power.low);
    m_wave[1]->setValue(m_power.high - m_power.low);
    m_wave[2]->setValue(m_power.high);
    showArea();
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
