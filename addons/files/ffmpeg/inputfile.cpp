#include "inputfile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <QCoreApplication>
#include <QFileInfo>
#include <QtEndian>

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

namespace {

constexpr int ioBufferBytes = 1 << 18;
// A WAV with more chunks than this before its samples is not read as one with odd spelling.
constexpr int maxChunks = 1000;

bool isId(const char* id, const char* usual)
{
    return qstrnicmp(id, usual, 4) == 0;
}

} // namespace

InputFile::InputFile() = default;

InputFile::~InputFile()
{
    if (m_context) {
        av_freep(&m_context->buffer);
        avio_context_free(&m_context);
    }
}

bool InputFile::open(const QString& path)
{
    const auto fail = [this](const QString& cause) {
        m_error = cause;
        return false;
    };
    const QFileInfo info(path);
    if (!info.exists())
        return fail(QCoreApplication::translate("ffmpeg", "there is no such file"));
    if (!info.isFile()) // opening a pipe would wait for a writer
        return fail(QCoreApplication::translate("ffmpeg", "this is not a regular file"));
    m_file.setFileName(path);
    if (!m_file.open(QFile::ReadOnly | QFile::Unbuffered))
        return fail(m_file.errorString());
    m_size = m_file.size();
    readWaveHead();
    auto* buffer = static_cast<uint8_t*>(av_malloc(ioBufferBytes));
    m_context = buffer
                    ? avio_alloc_context(buffer, ioBufferBytes, 0, this, readCallback, nullptr, seekCallback)
                    : nullptr;
    if (!m_context) {
        av_free(buffer);
        return fail(QCoreApplication::translate("ffmpeg", "there is not enough memory"));
    }
    return true;
}

int64_t InputFile::readAt(char* out, int64_t count, int64_t offset)
{
    return m_file.seek(offset) ? m_file.read(out, count) : -1;
}

int InputFile::readCallback(void* self, uint8_t* out, int count)
{
    auto& file = *static_cast<InputFile*>(self);
    if (file.stop)
        return AVERROR_EXIT;
    const int64_t begin = file.position;
    const int64_t got = file.readAt(reinterpret_cast<char*>(out), count, begin);
    if (got <= 0)
        return got < 0 ? AVERROR(EIO) : AVERROR_EOF;
    for (const Respelling& r : file.m_respellings)
        for (int i = 0; i < 4; ++i) {
            const int64_t at = r.offset + i - begin;
            if (at >= 0 && at < got)
                out[at] = uint8_t(r.id[i]);
        }
    file.position = begin + got;
    return int(got);
}

int64_t InputFile::seekCallback(void* self, int64_t offset, int whence)
{
    auto& file = *static_cast<InputFile*>(self);
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE)
        return file.m_size;
    const int64_t base = whence == SEEK_CUR ? file.position.load() : whence == SEEK_END ? file.m_size : 0;
    if (base + offset < 0)
        return AVERROR(EINVAL);
    file.position = base + offset;
    return file.position;
}

void InputFile::respell(int64_t offset, const char* found, const char* usual)
{
    if (std::memcmp(found, usual, 4) == 0)
        return;
    Respelling r{offset, {}};
    std::memcpy(r.id, usual, 4);
    m_respellings.push_back(r);
}

void InputFile::readWaveHead()
{
    static const char* const forms[] = {"RIFF", "RF64", "BW64"};
    static const char* const chunks[] = {"fmt ", "data", "ds64", "fact", "LIST", "bext"};
    char head[12];
    if (readAt(head, 12, 0) != 12 || !isId(head + 8, "WAVE"))
        return;
    for (const char* form : forms)
        if (isId(head, form)) {
            m_head.isWave = true;
            respell(0, head, form);
        }
    if (!m_head.isWave)
        return;
    respell(8, head + 8, "WAVE");
    int64_t offset = 12;
    int64_t longData = -1; // what stands in place of a size that 32 bits do not hold
    for (int i = 0; i < maxChunks && readAt(head, 8, offset) == 8; ++i) {
        for (const char* chunk : chunks)
            if (isId(head, chunk))
                respell(offset, head, chunk);
        const auto size = qFromLittleEndian<quint32>(head + 4);
        char format[14]; // tag, channels, rate, bytes a second, align
        if (isId(head, "fmt ") && size >= sizeof format && readAt(format, 14, offset + 8) == 14) {
            m_head.hasFormat = true;
            m_head.channels = qFromLittleEndian<quint16>(format + 2);
            m_head.rate = qFromLittleEndian<quint32>(format + 4);
            m_head.align = qFromLittleEndian<quint16>(format + 12);
        }
        char sizes[16]; // of the whole, of the data
        if (isId(head, "ds64") && readAt(sizes, 16, offset + 8) == 16)
            longData = std::max<int64_t>(-1, qFromLittleEndian<qint64>(sizes + 8));
        if (isId(head, "data")) {
            m_head.dataBegin = offset + 8;
            m_head.dataBytes = size == 0xffffffff ? longData : size == 0 ? -1 : int64_t(size);
            return;
        }
        offset += 8 + int64_t(size) + (size & 1);
    }
}
