#include "projectfiles/hostservices.h"

#include "model/types/channellabels.h"
#include "plugins/hosttable.h"
#include "projectfiles/reformat.h"
#include "projectfiles/remixerdialog.h"
#include "projectfiles/wavchunks.h"
#include "projectfiles/wavsamples.h"
#include "spectral/primitives/defaultremix.h"
#include "spectral/primitives/resampler.h"
#include "spectral/primitives/vectors.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include <QDebug>

namespace {

void fillVectors(HostTable& table)
{
    table.copy = [](float* d, const float* s, int64_t n) { vec::copy(d, s, n); };
    table.zero = [](float* d, int64_t n) { vec::zero(d, n); };
    table.multiply = [](float* d, const float* a, const float* b, int64_t n) { vec::multiply(d, a, b, n); };
    table.multiplyConstant = [](float* d, const float* s, double c, int64_t n) {
        vec::multiplyConstant(d, s, float(c), n);
    };
    table.add = [](float* d, const float* a, const float* b, int64_t n) { vec::add(d, a, b, n); };
    table.addConstant = [](float* d, const float* s, float c, int64_t n) { vec::addConstant(d, s, c, n); };
    table.subtract = [](float* d, const float* a, const float* b, int64_t n) { vec::subtract(d, a, b, n); };
    table.multiplyAdd = [](float* d, const float* a, const float* b, int64_t n) {
        for (int64_t i = 0; i < n; ++i)
            d[i] += a[i] * b[i];
    };
    table.multiplyAddConstant = [](float* d, const float* s, float c, int64_t n) {
        vec::multiplyAdd(d, s, c, n);
    };
    table.divide = [](float* d, const float* a, const float* b, int64_t n) { vec::divide(d, a, b, n); };
    table.maximum = [](float* d, const float* a, const float* b, int64_t n) {
        for (int64_t i = 0; i < n; ++i)
            d[i] = std::max(a[i], b[i]);
    };
    table.maxAbs = [](const float* s, int64_t n) { return vec::maxAbs(s, n); };
    table.sum = [](const float* s, int64_t n) { return vec::sum(s, n); };
    table.absolute = [](float* v, int64_t n) {
        for (int64_t i = 0; i < n; ++i)
            v[i] = std::fabs(v[i]);
    };
    table.squareRoot = [](float* v, int64_t n) {
        for (int64_t i = 0; i < n; ++i)
            v[i] = v[i] > 0 ? std::sqrt(v[i]) : 0;
    };
    table.minimum = [](float* d, const float* a, const float* b, int64_t n) {
        for (int64_t i = 0; i < n; ++i)
            d[i] = std::min(a[i], b[i]);
    };
}

uint64_t maskFromSigns(const QByteArray& signs)
{
    uint64_t mask = 0;
    for (int i = 0; i < std::min(signs.size(), 64); ++i) {
        const char sign = signs[i];
        if (sign != '\0' && sign != '0' && sign != '-' && sign != ' ')
            mask |= uint64_t(1) << i;
    }
    return mask;
}

void fillChannels(HostTable& table)
{
    table.channelBits = [](int32_t type) { return channelBits(type); };
    table.channelCount = [](uint64_t mask) -> int32_t { return channelCount(mask); };
    table.defaultChannelsMask = [](int32_t type, int32_t count) { return defaultChannelsMask(type, count); };
    table.channelsMaskFromSigns = &maskFromSigns;
    table.channelBit = [](uint64_t mask, int32_t index) { return channelBit(mask, index); };
    table.channelLabel = [](int32_t type, uint64_t mask, int32_t index) {
        return channelLabel(type, mask, index);
    };
    table.channelShortLabel = [](int32_t type, uint64_t mask, int32_t index) {
        return channelShortLabel(type, mask, index);
    };
}

IResampler* usable(std::unique_ptr<Resampler> resampler)
{
    return resampler->isUsable() ? resampler.release() : nullptr;
}

void fillConversion(HostTable& table)
{
    table.defaultChannelMatrix = [](uint64_t input, uint64_t output) {
        return defaultRemix(ChannelsTypeAudio, input, output);
    };
    table.createResampler = [](const SamplingFormat& input, const SamplingFormat& output,
                               const Matrix& matrix) {
        return usable(std::make_unique<Resampler>(input, output, matrix, true));
    };
    table.createPlainResampler = [](const SamplingFormat& format) {
        return usable(std::make_unique<Resampler>(format, 1.0, true));
    };
}

bool askFormat(QWidget* parent, SamplingFormat& format, Matrix& matrix)
{
    const std::optional<Reformat> asked = askReformat(format, parent, FormatDialog::Purpose::Convert);
    if (!asked)
        return false;
    format = asked->format;
    matrix = asked->matrix;
    return true;
}

bool askRemix(QWidget* parent, uint64_t inputMask, uint64_t outputMask, Matrix& matrix)
{
    const bool fits = matrix.inputs == channelCount(inputMask) && matrix.outputs == channelCount(outputMask);
    const Matrix proposed = fits ? matrix : defaultRemix(ChannelsTypeAudio, inputMask, outputMask);
    if (proposed.data.isEmpty())
        return false;
    RemixerDialog dialog({ChannelsTypeAudio, inputMask}, {ChannelsTypeAudio, outputMask}, proposed, parent);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    matrix = dialog.matrix();
    return true;
}

void fillDialogs(HostTable& table)
{
    table.reformatDialog = &askFormat;
    table.channelRemixerDialog = &askRemix;
}

// A plug-in gets no more than false; the cause stands in the log.
bool told(bool done, const QString& words)
{
    if (!done)
        qWarning().noquote() << words;
    return done;
}

void fillWave(HostTable& table)
{
    table.writeWave = [](const QString& path, const ILayerPtr& layer, int32_t tag, int32_t bits) {
        QString words;
        return layer && told(wavsamples::writeWave(path, *layer, tag, bits, &words), words);
    };
    table.appendMarkers = [](const QString& path, const MarkerList& markers) {
        QString words;
        return told(wavchunks::appendMarkers(path, markers, &words), words);
    };
    table.appendMetaData = [](const QString& path, const MetaDataList& tags) {
        QString words;
        return told(wavchunks::appendMetaData(path, tags, &words), words);
    };
    table.readWave = [](const QString& path, const ILayerPtr& layer, int64_t start) {
        QString words;
        return layer && told(wavsamples::readWave(path, *layer, start, &words), words);
    };
}

} // namespace

void fillHostTable(HostTable& table)
{
    fillVectors(table);
    fillChannels(table);
    fillConversion(table);
    fillDialogs(table);
    fillWave(table);
    table.readMarkers = [](const QString& path, MarkerList& markers) {
        return wavchunks::readMarkers(path, markers);
    };
    table.readMetaData = [](const QString& path, MetaDataList& tags) {
        return wavchunks::readMetaData(path, tags);
    };
}
