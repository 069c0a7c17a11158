#include "display/channelrow.h"

#include "display/channelname.h"
#include "display/frequencyscale.h"
#include "display/powerscale.h"
#include "display/qsplitterext.h"
#include "display/spectralchannel.h"
#include "display/waveformchannel.h"
#include "model/types/channellabels.h"

#include <algorithm>

#include <QHBoxLayout>

namespace {

constexpr int smallestPane = 8; // logical pixels; less collapses

// A view with its ruler, which stay together whatever the splitter does.
QWidget* makePane(QWidget* view, QWidget* ruler)
{
    auto* pane = new QWidget;
    pane->setMinimumHeight(smallestPane);
    auto* line = new QHBoxLayout(pane);
    line->setContentsMargins({});
    line->setSpacing(0);
    line->addWidget(view, 1);
    line->addWidget(ruler);
    // The ruler keeps its place while the view is hidden.
    QSizePolicy policy = view->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    view->setSizePolicy(policy);
    view->hide();
    return pane;
}

} // namespace

ChannelRow::ChannelRow(const SamplingFormat& format, int channel, QWidget* parent)
    : QWidget(parent),
      m_name(new ChannelName(format, channel, this)),
      m_splitter(new QSplitterExt(this)),
      m_waveform(new WaveformChannel(channel)),
      m_power(new PowerScale),
      m_spectral(new SpectralChannel(channel)),
      m_frequency(new FrequencyScale)
{
    const QString label = channelLabel(format.channelsType, format.channelsMask, channel);
    m_waveform->setAccessibleName(tr("Waveform, %1").arg(label));
    m_spectral->setAccessibleName(tr("Spectrogram, %1").arg(label));
    m_power->setAccessibleName(tr("Power ruler, %1").arg(label));
    m_frequency->setAccessibleName(tr("Frequency ruler, %1").arg(label));
    m_name->setFixedWidth(nameWidth);
    for (QWidget* view : {static_cast<QWidget*>(m_waveform), static_cast<QWidget*>(m_spectral)})
        view->setFocusPolicy(Qt::StrongFocus);
    m_splitter->setAccessibleName(tr("Views, %1").arg(label));
    m_splitter->addWidget(makePane(m_waveform, m_power));
    m_splitter->addWidget(makePane(m_spectral, m_frequency));
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins({});
    line->setSpacing(0);
    line->addWidget(m_name);
    line->addWidget(m_splitter, 1);
}

void ChannelRow::setViewsVisible(bool visible)
{
    m_waveform->setVisible(visible);
    m_spectral->setVisible(visible);
}

void ChannelRow::setRulerWidth(int width)
{
    m_power->setFixedWidth(width);
    m_frequency->setFixedWidth(width);
}

int ChannelRow::neededRulerWidth(const Convert& convert) const
{
    return std::max(m_power->neededWidth(convert), m_frequency->neededWidth(convert));
}
