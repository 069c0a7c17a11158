#include "display/channelname.h"

#include "model/types/channellabels.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QStyle>

namespace {

// A channel without a position of its own is called as all such are: its number tells more.
QString shortName(const SamplingFormat& format, int channel)
{
    const uint64_t bit = channelBit(format.channelsMask, channel);
    return channelBits(format.channelsType).contains(bit)
               ? channelShortLabel(format.channelsType, format.channelsMask, channel)
               : QString::number(channel + 1);
}

} // namespace

ChannelName::ChannelName(const SamplingFormat& format, int channel, QWidget* parent)
    : QLabel(parent),
      m_short(shortName(format, channel)),
      m_full(channelLabel(format.channelsType, format.channelsMask, channel))
{
    setObjectName(QStringLiteral("channelname"));
    setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    setFocusPolicy(Qt::TabFocus);
    setText(m_short);
    setToolTip(m_full);
    setAccessibleName(tr("Channel %1: %2").arg(channel + 1).arg(m_full));
}

void ChannelName::setMode(bool enabled, bool solo)
{
    m_enabled = enabled;
    m_solo = solo;
    const QString state = solo ? tr("Solo") : enabled ? QString() : tr("Mute");
    setToolTip(state.isEmpty() ? m_full : QStringLiteral("%1 (%2)").arg(m_full, state));
    showState(solo ? QStringLiteral("solo") : enabled ? QString() : QStringLiteral("mute"));
}

// The sheet chooses the colour by it.
void ChannelName::showState(const QString& state)
{
    if (property("channelstate").toString() == state)
        return;
    setProperty("channelstate", state);
    style()->unpolish(this);
    style()->polish(this);
}

void ChannelName::contextMenuEvent(QContextMenuEvent* event)
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* mute = menu->addAction(tr("Mute"), this, &ChannelName::muteToggled);
    mute->setCheckable(true);
    mute->setChecked(!m_enabled);
    QAction* solo = menu->addAction(tr("Solo"), this, &ChannelName::soloToggled);
    solo->setCheckable(true);
    solo->setChecked(m_solo);
    menu->popup(event->globalPos());
}

void ChannelName::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    setText(fontMetrics().elidedText(m_short, Qt::ElideRight, contentsRect().width()));
}
