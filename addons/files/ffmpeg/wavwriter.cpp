#include "wavwriter.h"

#include "convert.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <QCoreApplication>
#include <QtEndian>

namespace {

constexpr int64_t blockFloats = 1 << 18;
constexpr int64_t maxU32 = 0xffffffffLL;
// The tail of every subformat: the GUID of the wave family behind its two bytes of tag.
const char guidTail[] = "\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71";

template<class Number>
void put(QByteArray& out, Number value)
{
    char bytes[sizeof value];
    qToLittleEndian(value, bytes);
    out.append(bytes, int(sizeof value));
}

void put16(QByteArray& out, quint64 value)
{
    put(out, quint16(value));
}

void put32(QByteArray& out, quint64 value)
{
    put(out, quint32(value));
}

// Id, size, payload and pad byte.
QByteArray chunk(const char* id, const QByteArray& payload)
{
    QByteArray out(id, 4);
    put32(out, quint64(payload.size()));
    out += payload;
    if (payload.size() & 1)
        out += '\0';
    return out;
}

QByteArray latin1(const QString& text)
{
    QByteArray bytes = text.toLatin1(); // '?' for what Latin-1 lacks
    bytes.truncate(int(qstrnlen(bytes.constData(), uint(bytes.size()))));
    return bytes;
}

bool isPlain(const SamplingFormat& format)
{
    return format.channels < 3 && (format.channelsMask == 3 || format.channelsMask == 4);
}

} // namespace

WavWriter::WavWriter(const QString& path, int bits, bool isFloat)
    : m_file(path),
      m_bits(bits),
      m_isFloat(isFloat)
{
}

QByteArray WavWriter::markerChunks(const MarkerList& markers)
{
    QByteArray points, labels, regions;
    quint32 count = 0;
    for (const Marker& marker : markers) {
        if (marker.position < 0 || marker.position > maxU32 || marker.length > maxU32)
            continue;
        ++count;
        put32(points, quint32(marker.id));
        put32(points, 0);
        points += "data";
        put32(points, 0);
        put32(points, 0);
        put32(points, quint64(marker.position));
        QByteArray label;
        put32(label, quint32(marker.id));
        label += latin1(QString::fromStdString(marker.description)) + '\0';
        labels += chunk("labl", label);
        if (marker.length < 1)
            continue;
        QByteArray region;
        put32(region, quint32(marker.id));
        put32(region, quint64(marker.length));
        region += "rgn " + QByteArray(8, '\0'); // no country, language, dialect, code page
        regions += chunk("ltxt", region);
    }
    if (count == 0)
        return {};
    QByteArray cue;
    put32(cue, count);
    return chunk("cue ", cue + points) + chunk("LIST", "adtl" + labels + regions);
}

QByteArray WavWriter::infoChunk(const MetaDataList& tags)
{
    QByteArray entries;
    QStringList keys = tags.keys();
    keys.sort(); // a hash has no order; files shall not differ from run to run
    for (const QString& key : keys) {
        const QByteArray id = key.toLatin1();
        if (key.size() == 4 && !id.contains('?'))
            entries += chunk(id.constData(), latin1(tags.value(key)) + '\0');
    }
    return entries.isEmpty() ? QByteArray() : chunk("LIST", "INFO" + entries);
}

QByteArray WavWriter::formatChunk(const SamplingFormat& format) const
{
    const int tag = m_isFloat ? 3 : 1;
    const bool plain = isPlain(format);
    const auto rate = quint64(std::llround(format.sampleRate));
    const quint64 align = quint64(format.channels) * quint64(m_bits) / 8;
    QByteArray payload;
    put16(payload, plain ? quint64(tag) : 65534);
    put16(payload, quint64(format.channels));
    put32(payload, rate);
    put32(payload, std::min<quint64>(rate * align, maxU32));
    put16(payload, align);
    put16(payload, quint64(m_bits));
    if (!plain) {
        put16(payload, 22);
        put16(payload, quint64(m_bits));
        put32(payload, format.channelsMask);
        put16(payload, quint64(tag));
        payload.append(guidTail, sizeof guidTail - 1);
    } else if (tag != 1) {
        put16(payload, 0);
    }
    return chunk("fmt ", payload);
}

// Everything before the first sample.
QByteArray WavWriter::head(const SamplingFormat& format, int64_t dataBytes, int64_t riffBytes,
                           int64_t frames) const
{
    const QByteArray fmt = formatChunk(format);
    QByteArray out;
    if (riffBytes <= maxU32) {
        out += "RIFF";
        put32(out, quint64(riffBytes));
        out += "WAVE" + fmt + "data";
        put32(out, quint64(dataBytes));
        return out;
    }
    constexpr int ds64Bytes = 8 + 28;
    out += "RF64";
    put32(out, maxU32);
    out += "WAVE";
    QByteArray sizes;
    put(sizes, quint64(riffBytes + ds64Bytes));
    put(sizes, quint64(dataBytes));
    put(sizes, quint64(frames));
    put32(sizes, 0); // no table of further long chunks
    out += chunk("ds64", sizes) + fmt + "data";
    put32(out, maxU32);
    return out;
}

bool WavWriter::write(IExportSource& source)
{
    const SamplingFormat format = source.format();
    const auto fail = [&source](const QString& cause) {
        source.message(cause);
        return false;
    };
    if (format.isComplex())
        return fail(QCoreApplication::translate("ffmpeg", "WAV files hold no complex samples."));
    if (!(format.sampleRate >= 0.5) || format.sampleRate > double(maxU32))
        return fail(
            QCoreApplication::translate("ffmpeg", "WAV files hold no rate of %1 Hz.").arg(format.sampleRate));
    const int64_t frames = source.frames();
    const int64_t dataBytes = frames * format.channels * (m_bits / 8);
    const QByteArray tail = (dataBytes & 1 ? QByteArray(1, '\0') : QByteArray()) +
                            markerChunks(source.markers()) + infoChunk(source.metaData());
    const int64_t riffBytes = 4 + formatChunk(format).size() + 8 + dataBytes + tail.size();
    const QByteArray start = head(format, dataBytes, riffBytes, frames);
    if (!m_file.open(QFile::WriteOnly | QFile::Truncate) || m_file.write(start) != start.size())
        return fail(m_file.errorString());
    if (!writeSamples(source))
        return false;
    if (m_file.write(tail) != tail.size() || !m_file.flush())
        return fail(m_file.errorString());
    m_file.close();
    return m_file.error() == QFile::NoError || fail(m_file.errorString());
}

bool WavWriter::writeSamples(IExportSource& source)
{
    const int channels = source.format().channels;
    const int64_t frames = source.frames();
    const int64_t blockFrames = std::max<int64_t>(1, blockFloats / channels);
    std::vector<float> block(std::size_t(blockFrames * channels));
    for (int64_t start = 0; start < frames; start += blockFrames) {
        const int64_t count = std::min(blockFrames, frames - start);
        if (!source.progress(start, frames) || !source.samples(block.data(), start, count))
            return false;
        const QByteArray bytes = encoded(block.data(), count * channels);
        if (m_file.write(bytes) != bytes.size()) {
            source.message(m_file.errorString());
            return false;
        }
    }
    return source.progress(frames, frames);
}

QByteArray WavWriter::encoded(const float* samples, int64_t count) const
{
    QByteArray bytes(int(count * m_bits / 8), Qt::Uninitialized);
    if (m_isFloat) {
        qToLittleEndian<float>(samples, count, bytes.data());
        return bytes;
    }
    if (m_bits == 16) {
        std::vector<int16_t> values(static_cast<std::size_t>(count));
        convert::toInt16(values.data(), samples, count);
        qToLittleEndian<int16_t>(values.data(), count, bytes.data());
        return bytes;
    }
    std::vector<int32_t> values(static_cast<std::size_t>(count));
    convert::toInt32(values.data(), samples, m_bits, count);
    if (m_bits == 32) {
        qToLittleEndian<int32_t>(values.data(), count, bytes.data());
        return bytes;
    }
    char* out = bytes.data();
    for (const int32_t value : values) {
        *out++ = char(value);
        *out++ = char(value >> 8);
        *out++ = char(value >> 16);
    }
    return bytes;
}
