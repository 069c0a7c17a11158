#include "ui/statusreadout.h"

#include "model/layerroot.h"
#include "model/types/channellabels.h"
#include "ui/levelprobe.h"

#include <QHBoxLayout>
#include <QLabel>

namespace {

// A number and what it counts; the notes' unit is a text with a place for the number.
QString withSuffix(const QString& text, const QString& suffix)
{
    if (text.isEmpty() || suffix.isEmpty())
        return text;
    return suffix.contains(QLatin1String("%1")) ? suffix.arg(text) : text + QChar(QChar::Nbsp) + suffix;
}

} // namespace

StatusReadout::StatusReadout(QWidget* parent)
    : QWidget(parent),
      ViewState(QStringLiteral("StatusReadout")),
      m_document(new QLabel(this))
{
    setObjectName(QStringLiteral("readout"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 2, 8, 2);
    layout->setSpacing(5);
    m_document->setObjectName(QStringLiteral("document"));
    m_document->setAccessibleName(tr("Project"));
    m_document->setToolTip(tr("Sampling rate, channels and length of the project"));
    layout->addWidget(m_document);
    layout->addStretch(1);
    m_channel = addField(tr("Channel"), tr("Channel under the pointer"), QStringLiteral("Low Frequency"));
    m_time = addField(tr("Time"), tr("Time under the pointer"), QStringLiteral("00:00:00.000"));
    m_frequency = addField(tr("Frequency"), tr("Frequency under the pointer and the nearest note"),
                           QStringLiteral("22050.5 Hz  A#9"));
    m_level = addField(tr("Level"),
                       tr("Level of the mix in the frame centred at the pointer, at the frequency of the "
                          "pointer; a sinusoid of full scale reads 0 dB"),
                       QStringLiteral("-100 dB"));
    clearPointer();
}

StatusReadout::~StatusReadout() = default;

StatusReadout::Field StatusReadout::addField(const QString& caption, const QString& tip,
                                             const QString& widest)
{
    Field field{new QLabel(caption, this), new QLabel(this)};
    field.caption->setObjectName(QStringLiteral("caption"));
    field.value->setObjectName(QStringLiteral("value"));
    field.value->setAccessibleName(caption);
    // A width of its own, so that the line stands still while the pointer moves.
    field.value->setMinimumWidth(fontMetrics().horizontalAdvance(widest) + 4);
    for (QLabel* label : {field.caption, field.value}) {
        label->setToolTip(tip);
        layout()->addWidget(label);
    }
    return field;
}

QString StatusReadout::documentText() const
{
    return m_document->text();
}

QString StatusReadout::channelText() const
{
    return m_channel.value->text();
}

QString StatusReadout::timeText() const
{
    return m_time.value->text();
}

QString StatusReadout::frequencyText() const
{
    return m_frequency.value->text();
}

QString StatusReadout::levelText() const
{
    return m_level.value->text();
}

void StatusReadout::samplingFormatEvent(EventId id, const SamplingFormat& format)
{
    m_hasPointer = false;
    ViewState::samplingFormatEvent(id, format);
}

void StatusReadout::transformEvent(EventId id, const TransformSettings& settings)
{
    if (!sameSettings(m_transform, settings))
        m_transform = Transform(settings);
    ViewState::transformEvent(id, settings);
}

void StatusReadout::viewStateChanged()
{
    showDocument();
    showPointer();
}

void StatusReadout::layerEvent(EventId id, const ILayerPtr&)
{
    if (id != EventId::LayerContentUpdate)
        return;
    showDocument();
    showPointer();
}

void StatusReadout::mousePositionEvent(EventId, const MouseEvent& mouse)
{
    m_mouse = mouse;
    m_hasPointer = true;
    showPointer();
}

void StatusReadout::showDocument()
{
    const SamplingFormat& format = convert().format;
    if (format.channels < 1 || !root()) {
        m_document->clear();
        return;
    }
    const Range range = projectRange();
    const QStringList parts = {
        tr("%1 Hz").arg(format.sampleRate, 0, 'g', 15),
        format.channels == 1 ? tr("1 channel") : tr("%1 channels").arg(format.channels),
        withSuffix(convert().timeToString(double(range.isEmpty() ? 0 : range.end())), convert().timeSuffix()),
    };
    m_document->setText(parts.join(QStringLiteral("  \u00b7  ")));
}

void StatusReadout::showPointer()
{
    const SamplingFormat& format = convert().format;
    if (!m_hasPointer || format.channels < 1 || !root() || m_mouse.channel < 0 ||
        m_mouse.channel >= format.channels) {
        clearPointer();
        return;
    }
    const PointD& spot = m_mouse.position;
    m_channel.value->setText(channelLabel(format.channelsType, format.channelsMask, m_mouse.channel));
    m_time.value->setText(withSuffix(convert().timeToString(spot.x), convert().timeSuffix()));
    QString frequency = withSuffix(convert().freqToString(spot.y), convert().freqSuffix());
    const QString note = convert().freqUnit == FreqUnit::Notes ? QString() : convert().noteToString(spot.y);
    if (!note.isEmpty() && format.channelsType == ChannelsTypeAudio)
        frequency += QStringLiteral("  ") + note;
    m_frequency.value->setText(frequency);
    const double level = levelAt(*root()->project(), m_transform, m_mouse.channel, spot.x, spot.y);
    m_level.value->setText(withSuffix(convert().powerToString(level), convert().powerSuffix()));
}

void StatusReadout::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    for (const Field& field : {m_channel, m_time, m_frequency, m_level})
        field.caption->setVisible(width() >= captionWidth);
}

void StatusReadout::clearPointer()
{
    m_hasPointer = false;
    for (const Field& field : {m_channel, m_time, m_frequency, m_level})
        field.value->clear();
}
