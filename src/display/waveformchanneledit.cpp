// Editing single samples in a WaveformChannel.
#include "display/waveformchannel.h"

#include "model/historyentry.h"
#include "model/layerroot.h"
#include "ui/widgets/messages.h"

#include <QInputDialog>
#include <QLineF>
#include <QPointer>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double grabDistance = 8;  // logical pixels from the middle of a dot
constexpr int dialogDecimals = 9;   // what a float can tell of a sample at full scale
constexpr double dialogLimit = 1e9; // far above any full scale

} // namespace

// --- one sample ---------------------------------------------------------------------------------------

float WaveformChannel::SamplePlace::value(int channel) const
{
    std::array<float, 2> pair{};
    layer->read(pair.data(), {position, 1}, channel, true);
    return pair[std::size_t(part)];
}

bool WaveformChannel::SamplePlace::setValue(int channel, float value) const
{
    // A complex sample is written with its other part.
    std::array<float, 2> pair{};
    layer->read(pair.data(), {position, 1}, channel, true);
    pair[std::size_t(part)] = value;
    return layer->write(pair.data(), {position, 1}, channel, true);
}

std::optional<WaveformChannel::SamplePlace> WaveformChannel::nearestSample(const QPointF& at) const
{
    const ILayerPtr layer = m_root ? m_root->layer(-1) : nullptr;
    const Textures::Record* record = layer ? m_textures.find(layer) : nullptr;
    if (!record || !record->shown || !showsSamples() || !m_root->isVisible(layer))
        return std::nullopt;
    // While it is being moved, what is seen is not where it is stored.
    if (layer->timeOffset() != 0 || layer->scale() != std::pair{1.0f, 1.0f} || layer->attached())
        return std::nullopt;
    SamplePlace place{layer, std::llround(timeAt(at.x())), 0, layer->multiplier() * float(layer->polarity())};
    if (!layer->range().contains({place.position, 1}))
        return std::nullopt;
    if (layer->format().isComplex()) {
        SamplePlace other = place;
        other.part = 1;
        const auto distance = [&](const SamplePlace& p) {
            return std::abs(double(p.value(m_channel)) * double(p.gain) - amplitudeAt(at.y()));
        };
        if (distance(other) < distance(place))
            return other;
    }
    return place;
}

bool WaveformChannel::isOnDot(const SamplePlace& place, const QPointF& at) const
{
    const double amplitude = double(place.value(m_channel)) * double(place.gain);
    return QLineF(at, pixelOf(double(place.position), amplitude)).length() <= grabDistance;
}

bool WaveformChannel::mayEditSamples()
{
    if (m_composite) {
        messages::warning(this, tr("Cannot edit samples in composite view"),
                          tr("You can only edit samples when you're not in composite view."));
        return false;
    }
    const ILayerPtr active = m_root ? m_root->layer(-1) : nullptr;
    if (!active || active->type() == LayerTypeGroup ||
        !m_root->project()->children(ChildrenDirect).contains(active)) {
        messages::warning(this, tr("Cannot edit samples from a group"),
                          tr("You can only edit samples from a top-level layer, not from a group or a layer "
                             "within a group."));
        return false;
    }
    return true;
}

void WaveformChannel::setSample(const SamplePlace& place, float value)
{
    // What could not be stored is remembered by the layer, and taken back when the edit is recorded.
    (void)place.setValue(m_channel, value);
    postEvent(this, EventId::LayerContentUpdate, place.layer, nullptr);
}

// The history takes what LayerContentUpdate told since the last record, so that comes first.
void WaveformChannel::recordEdit()
{
    HistoryEntry entry;
    entry.name = tr("Sample Edit");
    entry.icon = QIcon(QStringLiteral(":/icons/sample.png"));
    postEvent(this, EventId::HistoryRecord, entry, nullptr);
}

// --- by a number --------------------------------------------------------------------------------------

void WaveformChannel::editSample(const QPointF& at)
{
    if (m_blocked || m_drag != Drag::None || !mayEditSamples())
        return;
    const std::optional<SamplePlace> place = nearestSample(at);
    if (!place)
        return;
    // The dialog runs the event loop, in which this view, and the dialog with it, may go.
    const QPointer<QInputDialog> dialog(new QInputDialog(this));
    dialog->setInputMode(QInputDialog::DoubleInput);
    dialog->setWindowTitle(tr("Edit Sample"));
    dialog->setLabelText(tr("Sample Value:"));
    dialog->setDoubleDecimals(dialogDecimals);
    dialog->setDoubleRange(-dialogLimit, dialogLimit);
    dialog->setDoubleStep(0.01);
    dialog->setDoubleValue(double(place->value(m_channel)));
    const double shown = dialog->doubleValue();
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return;
    const double value = dialog->doubleValue();
    delete dialog;
    // A value that was only looked at keeps its last bits.
    if (!accepted || value == shown || m_blocked || !m_textures.find(place->layer))
        return;
    setSample(*place, float(value));
    recordEdit();
}

// --- by the pointer -----------------------------------------------------------------------------------

void WaveformChannel::beginSampleDrag(const QPointF& at)
{
    const std::optional<SamplePlace> place = nearestSample(at);
    if (!place || place->gain == 0 || !isOnDot(*place, at) || !mayEditSamples())
        return;
    m_sample = SampleDrag{*place, place->value(m_channel), false};
    m_drag = Drag::Sample;
    grabKeyboard();
}

void WaveformChannel::dragSample(const QPointF& at)
{
    const double shown = std::clamp(amplitudeAt(at.y()), m_powerRange.low, m_powerRange.high);
    const auto value = float(shown / double(m_sample->place.gain));
    if (!std::isfinite(value) || value == m_sample->place.value(m_channel))
        return;
    m_sample->changed = true;
    setSample(m_sample->place, value);
}

// Keeps the new value as one step of the history, or brings the old one back.
void WaveformChannel::endSampleDrag(bool keep)
{
    const SampleDrag drag = *m_sample;
    m_sample.reset();
    m_drag = Drag::None;
    releaseKeyboard();
    if (!drag.changed)
        return;
    if (keep)
        recordEdit();
    else
        setSample(drag.place, drag.before);
}
