// The part of Layer that brings samples into another format or length.
#include "model/documentlock.h"
#include "model/formatchange.h"
#include "model/layer.h"
#include "spectral/primitives/remix.h"
#include "spectral/primitives/resampler.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double maxPosition = double(int64_t(1) << 61);

} // namespace

// Whoever reads holds documentLock(), so that its buffers fit until it has done.
void Layer::setFormat(const SamplingFormat& format)
{
    const WriteLocker document(documentLock());
    {
        const WriteLocker locker(m_edit);
        if (!m_store.setFormat(format)) {
            setStorageError();
            return;
        }
        renewBackup();
    }
    stampContent();
}

bool Layer::needsResampling(const SamplingFormat& target, const Matrix& matrix) const
{
    if (m_store.range().isEmpty())
        return false;
    const SamplingFormat form = m_store.format();
    return form.sampleRate != target.sampleRate || form.channels != target.channels ||
           form.sampleType != target.sampleType || !isIdentity(matrix) || matrix.inputs != form.channels;
}

bool Layer::changeFormat(const SamplingFormat& format, const Matrix& matrix, const Progress& progress)
{
    FormatChange change(format, matrix);
    change.add(shared_from_this());
    return change.run(progress);
}

std::unique_ptr<SampleStore> Layer::converted(Resampler& resampler, const SamplingFormat& format,
                                              int64_t start, const std::function<bool()>& goOn) const
{
    const double length = double(m_store.range().length) * resampler.ratio();
    auto samples = std::make_unique<SampleStore>(format, start);
    if (!samples->resize({start, std::llround(std::min(length, maxPosition))})) {
        setStorageError();
        return nullptr;
    }
    return samples->convertFrom(m_store, resampler, goOn) ? std::move(samples) : nullptr;
}

bool Layer::prepareFormat(const SamplingFormat& format, const Matrix& matrix,
                          const std::function<bool()>& goOn, Conversion& result) const
{
    result.contentTime = m_contentTime;
    if (!Layer::needsResampling(format, matrix))
        return true;
    Resampler resampler(m_store.format(), format, matrix, true);
    if (!resampler.isUsable())
        return false;
    const double start = double(m_store.range().start) * resampler.ratio();
    result.samples =
        converted(resampler, format, int64_t(std::clamp(start, -maxPosition, maxPosition)), goOn);
    return result.samples != nullptr;
}

void Layer::adoptFormat(const SamplingFormat& format, Conversion& conversion)
{
    {
        const WriteLocker locker(m_edit);
        if (conversion.samples) {
            m_store.exchangeWith(*conversion.samples);
            m_records.swap(conversion.records);
        } else if (!m_store.setFormat(format)) {
            setStorageError();
        }
        renewBackup();
    }
    stampContent();
}

void Layer::stretch(double ratio)
{
    const int64_t before = m_contentTime;
    Resampler resampler(m_store.format(), ratio, true);
    if (ratio == 1 || !resampler.isUsable() || m_store.range().isEmpty())
        return;
    const std::unique_ptr<SampleStore> samples =
        converted(resampler, m_store.format(), m_store.range().start, {});
    if (!samples)
        return;
    {
        const WriteLocker locker(m_edit);
        if (m_contentTime != before)
            return;
        const Range data = m_store.range();
        if (!keepForUndo({data.start, std::max(data.length, samples->range().length)}))
            return;
        m_store.exchangeWith(*samples);
    }
    stampContent();
}
