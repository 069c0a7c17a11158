#include "projectfiles/wavsamples.h"

#include "base/safefile.h"
#include "projectfiles/wavwalk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QtEndian>

using namespace wavwalk;

namespace {

constexpr int64_t piece = 65536;        // floats
constexpr int64_t largest = 0xffffffff; // of a size in a RIFF file
// What follows the tag in the id of an extensible subformat.
constexpr std::array<uchar, 14> subformatTail{0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xaa, 0, 0x38, 0x9b, 0x71};

QString tr(const char* text)
{
    return QCoreApplication::translate("WavFiles", text);
}

bool fail(QString* words, const QString& cause)
{
    if (words)
        *words = cause;
    return false;
}

int64_t roundedRate(double rate)
{
    return std::llround(rate);
}

template<class T>
void put(QByteArray& bytes, T value)
{
    const T little = qToLittleEndian(value);
    bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
}

// --- codecs ----------------------------------------------------------------------------------------

// One row for each form of a sample. `decode` and `encode` work on `count` samples.
struct Codec
{
    int32_t tag;
    int32_t bits;
    void (*decode)(const uchar* in, float* out, int64_t count);
    void (*encode)(const float* in, uchar* out, int64_t count); // null: only read
};

// Signed little-endian integers of 2 to 4 bytes.
template<int Bytes>
void decodeInteger(const uchar* in, float* out, int64_t count)
{
    constexpr double scale = double(1LL << (8 * Bytes - 1));
    for (int64_t i = 0; i < count; ++i, in += Bytes) {
        uint32_t bits = 0;
        for (int b = 0; b < Bytes; ++b)
            bits |= uint32_t(in[b]) << (8 * (4 - Bytes + b));
        out[i] = float(double(int32_t(bits) >> (8 * (4 - Bytes))) / scale);
    }
}

template<int Bytes>
void encodeInteger(const float* in, uchar* out, int64_t count)
{
    constexpr double scale = double(1LL << (8 * Bytes - 1));
    for (int64_t i = 0; i < count; ++i, out += Bytes) {
        const double value = std::isnan(in[i]) ? 0 : std::round(double(in[i]) * scale);
        const auto bits = uint64_t(int64_t(std::clamp(value, -scale, scale - 1)));
        for (int b = 0; b < Bytes; ++b)
            out[b] = uchar(bits >> (8 * b));
    }
}

void decodeByte(const uchar* in, float* out, int64_t count)
{
    for (int64_t i = 0; i < count; ++i)
        out[i] = float(int(in[i]) - 128) / 128;
}

void encodeByte(const float* in, uchar* out, int64_t count)
{
    for (int64_t i = 0; i < count; ++i) {
        const float value = std::isnan(in[i]) ? 0 : std::round(in[i] * 128);
        out[i] = uchar(int(std::clamp(value, -128.0f, 127.0f)) + 128);
    }
}

void decodeFloat(const uchar* in, float* out, int64_t count)
{
    for (int64_t i = 0; i < count; ++i)
        out[i] = qFromLittleEndian<float>(in + 4 * i);
}

void encodeFloat(const float* in, uchar* out, int64_t count)
{
    for (int64_t i = 0; i < count; ++i)
        qToLittleEndian(in[i], out + 4 * i);
}

void decodeDouble(const uchar* in, float* out, int64_t count)
{
    for (int64_t i = 0; i < count; ++i)
        out[i] = float(qFromLittleEndian<double>(in + 8 * i));
}

void encodeDouble(const float* in, uchar* out, int64_t count)
{
    for (int64_t i = 0; i < count; ++i)
        qToLittleEndian(double(in[i]), out + 8 * i);
}

// ITU-T G.711: sign, 3 bits of segment, 4 bits of step. Magnitudes of 12 bits, even bits inverted.
void decodeALaw(const uchar* in, float* out, int64_t count)
{
    for (int64_t i = 0; i < count; ++i) {
        const int code = in[i] ^ 0x55;
        const int segment = (code >> 4) & 7;
        const int step = 2 * (code & 15) + 1;
        const int magnitude = segment == 0 ? step : (step + 32) << (segment - 1);
        out[i] = float(code & 0x80 ? magnitude : -magnitude) / 4096;
    }
}

// The same with magnitudes of 13 bits, a bias of 33 and all bits inverted.
void decodeMuLaw(const uchar* in, float* out, int64_t count)
{
    for (int64_t i = 0; i < count; ++i) {
        const int code = in[i] ^ 0xff;
        const int magnitude = ((2 * (code & 15) + 33) << ((code >> 4) & 7)) - 33;
        out[i] = float(code & 0x80 ? -magnitude : magnitude) / 8192;
    }
}

using wavsamples::TagALaw;
using wavsamples::TagExtensible;
using wavsamples::TagFloat;
using wavsamples::TagInteger;
using wavsamples::TagMuLaw;

constexpr Codec codecs[] = {
    {TagInteger, 8, decodeByte, encodeByte},
    {TagInteger, 16, decodeInteger<2>, encodeInteger<2>},
    {TagInteger, 24, decodeInteger<3>, encodeInteger<3>},
    {TagInteger, 32, decodeInteger<4>, encodeInteger<4>},
    {TagFloat, 32, decodeFloat, encodeFloat},
    {TagFloat, 64, decodeDouble, encodeDouble},
    {TagALaw, 8, decodeALaw, nullptr},
    {TagMuLaw, 8, decodeMuLaw, nullptr},
};

const Codec* codecOf(int32_t tag, int64_t bits)
{
    const auto* const found = std::find_if(std::begin(codecs), std::end(codecs), [&](const Codec& codec) {
        return codec.tag == tag && codec.bits == bits;
    });
    return found == std::end(codecs) ? nullptr : found;
}

// --- writing ---------------------------------------------------------------------------------------

QByteArray formatChunk(const SamplingFormat& format, int32_t tag, int32_t bits)
{
    const bool isPlain = format.channels < 3 && (format.channelsMask == 3 || format.channelsMask == 4);
    const auto block = quint16(format.channels * bits / 8);
    const auto rate = quint32(roundedRate(format.sampleRate));
    QByteArray bytes;
    put(bytes, quint16(isPlain ? tag : TagExtensible));
    put(bytes, quint16(format.channels));
    put(bytes, rate);
    put(bytes, quint32(rate * quint64(block)));
    put(bytes, block);
    put(bytes, quint16(bits));
    if (!isPlain) {
        put(bytes, quint16(22)); // bytes to come
        put(bytes, quint16(bits));
        put(bytes, quint32(format.channelsMask));
        put(bytes, quint16(tag));
        bytes.append(reinterpret_cast<const char*>(subformatTail.data()), int(subformatTail.size()));
    } else if (tag != TagInteger) {
        put(bytes, quint16(0));
    }
    QByteArray chunk("fmt ");
    put(chunk, quint32(bytes.size()));
    return chunk + bytes;
}

// All before the samples.
QByteArray fileHead(const QByteArray& format, int64_t dataBytes)
{
    QByteArray head("RIFF");
    put(head, quint32(4 + format.size() + 8 + dataBytes + (dataBytes & 1)));
    head += "WAVE" + format + "data";
    put(head, quint32(dataBytes));
    return head;
}

bool writeSamples(SafeFile& file, const ILayer& layer, const Codec& codec)
{
    const Range all = layer.range();
    const int64_t channels = layer.format().channels;
    const int64_t most = std::max<int64_t>(1, piece / channels);
    std::vector<float> samples(std::size_t(std::min(most, all.length) * channels));
    std::vector<uchar> bytes(samples.size() * std::size_t(codec.bits / 8));
    for (int64_t done = 0; done < all.length; done += most) {
        const int64_t frames = std::min(most, all.length - done);
        layer.read(samples.data(), {all.start + done, frames}, -1, true);
        codec.encode(samples.data(), bytes.data(), frames * channels);
        if (!file.write(reinterpret_cast<const char*>(bytes.data()), frames * channels * codec.bits / 8))
            return false;
    }
    return true;
}

// --- reading ---------------------------------------------------------------------------------------

struct WaveFormat
{
    int32_t tag = 0;
    int32_t channels = 0;
    int64_t rate = 0;
    int32_t blockAlign = 0;
};

std::optional<WaveFormat> readFormat(QIODevice& device, const Chunk& chunk)
{
    constexpr int plainBytes = 16;
    constexpr int tagInExtensible = 24;
    if (!device.seek(chunk.begin))
        return std::nullopt;
    const QByteArray bytes = device.read(std::min<qint64>(chunk.size, 40));
    if (bytes.size() < plainBytes)
        return std::nullopt;
    WaveFormat format{u16(bytes, 0), u16(bytes, 2), u32(bytes, 4), u16(bytes, 12)};
    if (format.tag == TagExtensible)
        format.tag = bytes.size() >= tagInExtensible + 2 ? u16(bytes, tagInExtensible) : 0;
    return format;
}

// The container's width counts: samples of fewer valid bits stand in its upper part.
const Codec* codecOf(const WaveFormat& format)
{
    const bool fits = format.channels > 0 && format.blockAlign % format.channels == 0;
    return fits ? codecOf(format.tag, int64_t(format.blockAlign) / format.channels * 8) : nullptr;
}

bool readSamples(QIODevice& device, const Chunk& data, const Codec& codec, ILayer& layer, int64_t start)
{
    const int64_t channels = layer.format().channels;
    const int64_t block = channels * codec.bits / 8;
    const int64_t frames = data.size / block;
    const int64_t most = std::max<int64_t>(1, piece / channels);
    std::vector<float> samples(std::size_t(std::min(most, frames) * channels));
    if (!device.seek(data.begin))
        return false;
    if (frames > most)
        layer.extendTo({start, frames}); // at once; where that fails, the first write tells
    for (int64_t done = 0; done < frames;) {
        const QByteArray bytes = device.read(std::min(most, frames - done) * block);
        const int64_t count = bytes.size() / block;
        if (count < 1)
            break;
        codec.decode(reinterpret_cast<const uchar*>(bytes.constData()), samples.data(), count * channels);
        if (!layer.write(samples.data(), {start + done, count}, -1, true))
            return false;
        done += count;
    }
    return true;
}

} // namespace

bool wavsamples::writeWave(const QString& path, const ILayer& layer, int32_t tag, int32_t bits,
                           QString* words)
{
    const QString file = QDir::toNativeSeparators(path) + QLatin1String(": ");
    const SamplingFormat format = layer.format();
    const Codec* const codec = codecOf(tag, bits);
    if (!codec || !codec->encode)
        return fail(words, file + tr("WAV files of this kind are not written"));
    if (format.isComplex() || format.channels < 1 || roundedRate(format.sampleRate) > largest)
        return fail(words, file + tr("a WAV file cannot hold this kind of signal"));
    const int64_t frames = std::max<int64_t>(0, layer.range().length);
    const int64_t block = int64_t(format.channels) * bits / 8;
    const QByteArray head = formatChunk(format, tag, bits);
    if (frames > (largest - head.size() - 13) / block)
        return fail(words, file + tr("a WAV file holds no more than 4 GiB"));
    const int64_t dataBytes = frames * block;
    SafeFile target(path);
    const QByteArray pad(int(dataBytes & 1), '\0');
    if (target.open() && target.write(fileHead(head, dataBytes)) && writeSamples(target, layer, *codec) &&
        target.write(pad) && target.commit())
        return true;
    return fail(words, target.errorString());
}

bool wavsamples::readWave(QIODevice& device, ILayer& layer, int64_t start, QString* words)
{
    const SamplingFormat target = layer.format();
    std::optional<WaveFormat> format;
    std::optional<Chunk> data;
    const bool isWave = walkFile(device, [&](const Chunk& chunk) {
        if (chunk.id == "fmt " && !format)
            format = readFormat(device, chunk);
        else if (chunk.id == "data" && !data)
            data = chunk;
    });
    if (!isWave || !format || !data)
        return fail(words, tr("this is no WAV file with samples"));
    const Codec* const codec = codecOf(*format);
    if (!codec)
        return fail(words, tr("WAV files of this kind are not read"));
    if (target.isComplex() || format->channels != target.channels ||
        format->rate != roundedRate(target.sampleRate))
        return fail(words, tr("rate or channels differ from those of the layer"));
    return readSamples(device, *data, *codec, layer, start) ||
           fail(words, tr("the samples could not be stored"));
}

bool wavsamples::readWave(const QString& path, ILayer& layer, int64_t start, QString* words)
{
    QFile file(path);
    const bool good = openRegular(file)
                          ? readWave(file, layer, start, words)
                          : fail(words, file.error() == QFile::NoError ? tr("this is not a regular file")
                                                                       : file.errorString());
    if (!good && words)
        words->prepend(QDir::toNativeSeparators(path) + QLatin1String(": "));
    return good;
}
