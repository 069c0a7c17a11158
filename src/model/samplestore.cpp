#include "model/samplestore.h"

#include "base/sessionfile.h"
#include "model/samplecopy.h"
#include "spectral/primitives/resampler.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include <QCoreApplication>
#include <QVariant>

namespace {

// How far an append enlarges the file ahead.
constexpr int64_t firstReserve = 4LL << 20; // bytes
constexpr int64_t maxReserve = 256LL << 20;

constexpr int64_t fillChunk = 4LL << 20; // bytes between two looks at the progress
constexpr int64_t copyChunk = 32768;     // floats that stay in the cache on their way

// Saturated: a size that no disk has is refused like any other that is too large.
int64_t bytesOf(int64_t frames, int64_t frameBytes)
{
    constexpr int64_t max = std::numeric_limits<int64_t>::max();
    return frameBytes > 0 && frames > max / frameBytes ? max : frames * frameBytes;
}

} // namespace

QString SampleStore::sessionFolder()
{
    const QCoreApplication* application = QCoreApplication::instance();
    return application ? application->property("sessionpath").toString() : QString();
}

SampleStore::SampleStore(const SamplingFormat& format, int64_t start) : m_format(format), m_start(start) {}

SampleStore::~SampleStore() = default;

SamplingFormat SampleStore::format() const
{
    const ReadLocker locker(m_map);
    return m_format;
}

Range SampleStore::range() const
{
    const ReadLocker locker(m_map);
    return {m_start, m_length};
}

QString SampleStore::filePath() const
{
    const ReadLocker locker(m_map);
    return m_file ? m_file->path() : QString();
}

const float* SampleStore::frame(int64_t index) const
{
    return reinterpret_cast<const float*>(m_file->data() + index * m_format.frameBytes());
}

float* SampleStore::frame(int64_t index)
{
    return reinterpret_cast<float*>(m_file->data() + index * m_format.frameBytes());
}

template<class Piece>
void SampleStore::forReading(int64_t first, int64_t frames, const Piece& piece) const
{
    for (const int64_t end = first + frames; first < end;) {
        const int64_t block = first >> blockBits;
        const int64_t count = std::min(end, (block + 1) << blockBits) - first;
        const ReadLocker locker(m_stripes[std::size_t(block % stripeCount)]);
        piece(first, count);
        first += count;
    }
}

template<class Piece>
void SampleStore::forWriting(int64_t first, int64_t frames, const Piece& piece)
{
    for (const int64_t end = first + frames; first < end;) {
        const int64_t block = first >> blockBits;
        const int64_t count = std::min(end, (block + 1) << blockBits) - first;
        const WriteLocker locker(m_stripes[std::size_t(block % stripeCount)]);
        piece(first, count);
        first += count;
    }
}

void SampleStore::read(float* out, const Range& ask, int32_t channel, bool overwrite, float gain) const
{
    const ReadLocker locker(m_map);
    readLocked(out, ask, channel, overwrite, gain);
}

void SampleStore::addTo(float* out, const Range& ask, int32_t channel, float gain,
                        const SamplingFormat& layout) const
{
    const ReadLocker locker(m_map);
    if (m_format.channels == layout.channels && m_format.sampleType == layout.sampleType)
        readLocked(out, ask, channel, false, gain);
    fetchAhead({ask.end(), ask.length});
}

void SampleStore::fetchAhead(const Range& range) const
{
    constexpr int64_t most = 4096; // bytes; of many layers they must all stay in the cache until then
    constexpr int64_t line = 64;
    const Range clip = range.intersected({m_start, m_length});
    if (clip.isEmpty())
        return;
    const auto* bytes = reinterpret_cast<const char*>(frame(clip.start - m_start));
    const int64_t count = std::min(clip.length * m_format.frameBytes(), most);
    for (int64_t at = 0; at < count; at += line)
        __builtin_prefetch(bytes + at);
}

void SampleStore::readLocked(float* out, const Range& ask, int32_t channel, bool overwrite, float gain) const
{
    const bool all = channel < 0;
    const int64_t frameFloats = m_format.frameBytes() / 4;
    const int64_t width = all ? frameFloats : m_format.sampleType;
    if (ask.isEmpty() || width < 1)
        return;
    const Range clip = channel < m_format.channels ? ask.intersected({m_start, m_length}) : Range{};
    const int64_t before = clip.isEmpty() ? ask.length : clip.start - ask.start;
    const int64_t after = ask.length - before - clip.length;
    if (overwrite) {
        std::memset(out, 0, std::size_t(before * width) * sizeof(float));
        std::memset(out + (before + clip.length) * width, 0, std::size_t(after * width) * sizeof(float));
    }
    out += before * width;
    const samplecopy::Mode mode = overwrite ? samplecopy::Mode::Set : samplecopy::Mode::Add;
    forReading(clip.start - m_start, clip.length, [&](int64_t first, int64_t frames) {
        if (all)
            samplecopy::plain(out, frame(first), frames * width, mode, gain);
        else
            samplecopy::gather(out, frame(first) + channel * width, frames, int32_t(width), frameFloats, mode,
                               gain);
        out += frames * width;
    });
}

void SampleStore::store(const float* in, const Range& range, int32_t channel, bool overwrite)
{
    const ReadLocker locker(m_map);
    const bool all = channel < 0;
    const int64_t frameFloats = m_format.frameBytes() / 4;
    const int64_t width = all ? frameFloats : m_format.sampleType;
    const Range clip = range.intersected({m_start, m_length});
    if (clip.isEmpty() || channel >= m_format.channels)
        return;
    in += (clip.start - range.start) * width;
    const samplecopy::Mode mode = overwrite ? samplecopy::Mode::Set : samplecopy::Mode::Add;
    forWriting(clip.start - m_start, clip.length, [&](int64_t first, int64_t frames) {
        if (all)
            samplecopy::plain(frame(first), in, frames * width, mode, 1.0f);
        else
            samplecopy::scatter(frame(first) + channel * width, in, frames, int32_t(width), frameFloats,
                                mode);
        in += frames * width;
    });
}

std::unique_ptr<SessionFile> SampleStore::newFile(int64_t frames) const
{
    return SessionFile::create(sessionFolder(), bytesOf(frames, m_format.frameBytes()));
}

// The old file is unmapped and deleted after readers have been let in again.
void SampleStore::exchange(std::unique_ptr<SessionFile> file, const Range& span)
{
    const WriteLocker locker(m_map);
    m_file.swap(file);
    m_start = span.start;
    m_length = span.length;
    // `file` dies after `locker`: parameters outlive the locals of a function.
}

bool SampleStore::resizeInPlace(int64_t frames)
{
    const WriteLocker locker(m_map);
    if (!m_file->resize(bytesOf(frames, m_format.frameBytes())))
        return false;
    m_length = frames;
    return true;
}

bool SampleStore::resize(const Range& target)
{
    if (target.isEmpty()) {
        exchange(nullptr, {});
        return true;
    }
    if (m_format.frameBytes() < 1)
        return false;
    if (isResizedInPlace(target))
        return resizeInPlace(target.length);
    std::unique_ptr<SessionFile> file = moved(target);
    if (!file)
        return false;
    exchange(std::move(file), target);
    return true;
}

bool SampleStore::resizeImage(const Range& target)
{
    if (target.isEmpty() || m_length < 1 || isResizedInPlace(target))
        return resize(target);
    std::unique_ptr<SessionFile> file = moved(target);
    if (!file)
        return false;
    file->takePlaceOf(*m_file, (m_start - target.start) * m_format.frameBytes());
    exchange(std::move(file), target);
    return true;
}

bool SampleStore::isResizedInPlace(const Range& target) const
{
    return m_length > 0 && !target.isEmpty() && target.start == m_start;
}

std::unique_ptr<SessionFile> SampleStore::moved(const Range& target) const
{
    std::unique_ptr<SessionFile> file = newFile(target.length);
    const Range kept = target.intersected({m_start, m_length});
    if (file && !kept.isEmpty())
        std::memcpy(file->data() + (kept.start - target.start) * m_format.frameBytes(),
                    frame(kept.start - m_start), std::size_t(kept.length * m_format.frameBytes()));
    return file;
}

bool SampleStore::guard(const Range& range, const SampleStore& image) const
{
    if (!m_file)
        return true;
    const int64_t bytes = m_format.frameBytes();
    const Range part = range.intersected({m_start, m_length}).intersected(image.range());
    if (part.isEmpty())
        return m_file->guard(0, 0);
    return m_file->guard((part.start - m_start) * bytes, part.length * bytes, image.m_file.get(),
                         (part.start - image.m_start) * bytes);
}

void SampleStore::shift(int64_t samples)
{
    const WriteLocker locker(m_map);
    m_start += samples;
}

// By way of a small buffer, so that no two block locks are ever held at once.
void SampleStore::copyFrom(const SampleStore& source, const Range& range)
{
    const int64_t frameFloats = m_format.frameBytes() / 4;
    const Range span = range.intersected(source.range()).intersected({m_start, m_length});
    if (span.isEmpty())
        return;
    const int64_t chunk = std::max<int64_t>(1, copyChunk / frameFloats);
    std::vector<float> buffer(std::size_t(std::min(chunk, span.length) * frameFloats));
    for (int64_t at = span.start; at < span.end(); at += chunk) {
        const Range part{at, std::min(chunk, span.end() - at)};
        source.read(buffer.data(), part, -1, true, 1.0f);
        store(buffer.data(), part, -1, true);
    }
}

bool SampleStore::fillFrom(const SampleStore& source, const std::vector<Stretch>& pieces, const Work& goOn)
{
    const int64_t frameBytes = m_format.frameBytes();
    const int64_t chunk = std::max<int64_t>(1, fillChunk / frameBytes);
    for (const Stretch& piece : pieces)
        for (int64_t at = 0; at < piece.from.length; at += chunk) {
            const Range part{piece.from.start + at, std::min(chunk, piece.from.length - at)};
            source.read(frame(piece.to + at - m_start), part, -1, true, 1.0f);
            if (goOn && !goOn(part.length * frameBytes))
                return false;
        }
    return true;
}

bool SampleStore::convertFrom(const SampleStore& source, Resampler& resampler,
                              const std::function<bool()>& goOn)
{
    if (m_length < 1)
        return true;
    const Range span = source.range();
    const int64_t floats = source.format().frameBytes() / 4;
    std::vector<float> piece;
    const auto pieces = [&](int64_t first, int64_t count) -> const float* {
        if (goOn && !goOn())
            return nullptr;
        piece.resize(std::size_t(count * floats));
        source.read(piece.data(), {span.start + first, count}, -1, true, 1.0f);
        return piece.data();
    };
    return resampler.processPieces(pieces, span.length, frame(0), m_length) == m_length;
}

void SampleStore::exchangeWith(SampleStore& other)
{
    const WriteLocker locker(m_map);
    std::swap(m_format, other.m_format);
    std::swap(m_start, other.m_start);
    std::swap(m_length, other.m_length);
    m_file.swap(other.m_file);
}

bool SampleStore::setFormat(const SamplingFormat& format)
{
    const int64_t bytes = m_length * m_format.frameBytes();
    const int64_t frames = format.frameBytes() > 0 ? bytes / format.frameBytes() : 0;
    if (frames < 1) {
        const int64_t start = m_start;
        exchange(nullptr, {m_length > 0 ? 0 : start, 0});
    }
    const WriteLocker locker(m_map);
    if (m_file && !m_file->resize(frames * format.frameBytes()))
        return false;
    m_format = format;
    m_length = frames;
    return true;
}

bool SampleStore::adopt(std::unique_ptr<SessionFile>& file)
{
    const int64_t frames = m_format.frameBytes() > 0 ? file->size() / m_format.frameBytes() : 0;
    if (!file->resize(frames * std::max<int64_t>(0, m_format.frameBytes())))
        return false;
    exchange(frames > 0 ? std::move(file) : nullptr, {m_start, frames});
    return true;
}

void SampleStore::keepFile()
{
    if (m_file)
        m_file->keep();
}

bool SampleStore::reserve(int64_t frames)
{
    const int64_t bytes = bytesOf(frames, m_format.frameBytes());
    if (bytes < 1 || (m_file && bytes <= m_file->size()))
        return true;
    if (!m_file) {
        std::unique_ptr<SessionFile> file = newFile(frames);
        if (!file)
            return false;
        exchange(std::move(file), {m_start, 0});
        return true;
    }
    const WriteLocker locker(m_map);
    return m_file->resize(bytes);
}

// Nobody reads what lies behind the length, so the copy needs no lock; only the new length does.
bool SampleStore::append(const float* interleaved, int64_t frames)
{
    const int64_t frameBytes = m_format.frameBytes();
    const int64_t needed = m_length + frames;
    const int64_t held = m_file ? m_file->size() : 0;
    if (bytesOf(needed, frameBytes) > held) {
        const int64_t ahead = std::clamp(held, firstReserve, maxReserve) / frameBytes;
        // Near the end of the disk only what is needed.
        if (!reserve(needed + ahead) && !reserve(needed)) {
            finishAppend();
            return false;
        }
    }
    // Not through the mapping: each page would be read, or filled with zeros, before it is overwritten.
    if (!m_file->write(m_length * frameBytes, reinterpret_cast<const char*>(interleaved),
                       frames * frameBytes)) {
        finishAppend();
        return false;
    }
    const WriteLocker locker(m_map);
    m_length = needed;
    return true;
}

bool SampleStore::finishAppend()
{
    if (!m_file)
        return true;
    if (m_length < 1) {
        exchange(nullptr, {m_start, 0});
        return true;
    }
    const WriteLocker locker(m_map);
    return m_file->resize(m_length * m_format.frameBytes());
}
