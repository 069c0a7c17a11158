#include "ui/channelspanel.h"

#include "model/types/channellabels.h"
#include "ui/panelbuttons.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QStyleOptionButton>
#include <QToolButton>

namespace {

// Whether all channels of `which` have the bit, and there is one.
bool isSetForAll(const QBitArray& bits, const QBitArray& which)
{
    return which.count(true) > 0 && (bits & which) == which;
}

// Its text ends in dots where there is no room for it; it never asks for more than there is.
class ElidedCheckBox : public QCheckBox
{
public:
    ElidedCheckBox(const QString& name, QWidget* parent) : QCheckBox(name, parent), m_name(name)
    {
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        setAccessibleName(name);
    }

protected:
    void resizeEvent(QResizeEvent* event) override
    {
        QCheckBox::resizeEvent(event);
        QStyleOptionButton option;
        initStyleOption(&option);
        const int room = style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this).width();
        setText(fontMetrics().elidedText(m_name, Qt::ElideRight, room));
    }

private:
    const QString m_name;
};

} // namespace

ChannelsPanel::ChannelsPanel(QWidget* parent) : QWidget(parent), IEvent(QStringLiteral("ChannelsPanel"))
{
    setObjectName(QStringLiteral("channelspanel"));
    m_mute = makeSwitch(this, "mute", tr("Mute"), tr("Mute the Selected Channels"));
    m_solo = makeSwitch(this, "solo", tr("Solo"), tr("Solo the Selected Channels"));
    QToolButton* all = makeIconButton(this, "selectallchannels", tr("Select All Channels"));
    QToolButton* format = makeIconButton(this, "resample", tr("Reformat..."));
    auto* header = new QHBoxLayout;
    header->setContentsMargins(6, 4, 6, 4);
    header->setSpacing(4);
    header->addWidget(m_mute);
    header->addWidget(m_solo);
    header->addStretch(1);
    header->addWidget(all);
    header->addWidget(format);

    auto* rows = new QWidget;
    rows->setObjectName(QStringLiteral("channelrows"));
    m_column = new QVBoxLayout(rows);
    m_column->setContentsMargins(6, 0, 6, 4);
    m_column->setSpacing(2);
    m_column->addStretch(1);
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setAccessibleName(tr("Channels"));
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(rows);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addLayout(header);
    layout->addWidget(scroll, 1);

    connect(m_mute, &QToolButton::clicked, this, &ChannelsPanel::muteSelected);
    connect(m_solo, &QToolButton::clicked, this, &ChannelsPanel::soloSelected);
    connect(all, &QToolButton::clicked, this, &ChannelsPanel::selectAll);
    connect(format, &QToolButton::clicked, this, &ChannelsPanel::formatRequested);
    setEnabled(false); // until there is a project
}

void ChannelsPanel::addRow(int channel, const QString& name)
{
    Row row{};
    row.box = new QWidget(this);
    row.selected = new ElidedCheckBox(name, row.box);
    row.selected->setObjectName(QStringLiteral("channelselected"));
    row.selected->setToolTip(tr("Edit %1").arg(name));
    row.mute = makeSwitch(row.box, "mute", tr("Mute"), tr("Mute %1").arg(name));
    row.solo = makeSwitch(row.box, "solo", tr("Solo"), tr("Solo %1").arg(name));
    auto* layout = new QHBoxLayout(row.box);
    layout->setContentsMargins({});
    layout->setSpacing(4);
    layout->addWidget(row.selected, 1);
    layout->addWidget(row.mute);
    layout->addWidget(row.solo);
    connect(row.selected, &QCheckBox::clicked, this,
            [this, channel](bool on) { set(&ChannelsMode::selected, channel, on); });
    connect(row.mute, &QToolButton::clicked, this,
            [this, channel](bool on) { set(&ChannelsMode::enabled, channel, !on); });
    connect(row.solo, &QToolButton::clicked, this,
            [this, channel](bool on) { set(&ChannelsMode::solo, channel, on); });
    m_column->insertWidget(int(m_rows.size()), row.box);
    m_rows.push_back(row);
}

// --- what the user sets -----------------------------------------------------------------------------

void ChannelsPanel::set(QBitArray ChannelsMode::*bits, int channel, bool on)
{
    (m_mode.*bits).setBit(channel, on);
    post();
}

void ChannelsPanel::post()
{
    showMode();
    postEvent(this, EventId::ChannelsModeChange, m_mode, this);
}

void ChannelsPanel::muteSelected()
{
    const bool muted = isSetForAll(~m_mode.enabled, m_mode.selected);
    m_mode.enabled = muted ? m_mode.enabled | m_mode.selected : m_mode.enabled & ~m_mode.selected;
    post();
}

void ChannelsPanel::soloSelected()
{
    const bool solo = isSetForAll(m_mode.solo, m_mode.selected);
    m_mode.solo = solo ? m_mode.solo & ~m_mode.selected : m_mode.solo | m_mode.selected;
    post();
}

void ChannelsPanel::selectAll()
{
    m_mode.selected.fill(true);
    post();
}

// --- what events tell -------------------------------------------------------------------------------

void ChannelsPanel::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    setEnabled(format.channels > 0);
    const bool sameRows = format.channelsType == m_format.channelsType &&
                          format.channels == m_format.channels &&
                          format.channelsMask == m_format.channelsMask;
    m_format = format;
    m_mode = ChannelsMode(format.channels);
    if (!sameRows) {
        for (const Row& row : m_rows)
            delete row.box;
        m_rows.clear();
        for (int channel = 0; channel < format.channels; ++channel)
            addRow(channel, channelLabel(format.channelsType, format.channelsMask, channel));
    }
    showMode();
}

void ChannelsPanel::channelsModeEvent(EventId, const ChannelsMode& mode)
{
    m_mode = mode;
    // A project out of a file may tell fewer than it has.
    const int channels = m_format.channels;
    for (QBitArray* bits : {&m_mode.enabled, &m_mode.solo, &m_mode.selected}) {
        const int told = bits->size();
        bits->resize(channels);
        if (bits != &m_mode.solo && told < channels)
            bits->fill(true, told, channels);
    }
    showMode();
}

void ChannelsPanel::showMode()
{
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        const int channel = int(i);
        m_rows[i].selected->setChecked(m_mode.selected.testBit(channel));
        m_rows[i].mute->setChecked(!m_mode.enabled.testBit(channel));
        m_rows[i].solo->setChecked(m_mode.solo.testBit(channel));
    }
    m_mute->setChecked(isSetForAll(~m_mode.enabled, m_mode.selected));
    m_solo->setChecked(isSetForAll(m_mode.solo, m_mode.selected));
    const bool any = m_mode.selected.count(true) > 0;
    m_mute->setEnabled(any);
    m_solo->setEnabled(any);
}
