#include "encoder.h"

#include "avpointers.h"
#include "convert.h"
#include "tags.h"

#include "plugins/ifileplugin.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <QCoreApplication>
#include <QFile>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace {

constexpr int64_t blockFloats = 1 << 18;
constexpr int freeFrameSize = 4096; // for encoders that take any

QString tr(const char* text)
{
    return QCoreApplication::translate("ffmpeg", text);
}

struct OutputDeleter
{
    void operator()(AVFormatContext* p) const
    {
        avio_closep(&p->pb);
        avformat_free_context(p);
    }
};

// One export; every step answers false after telling the cause.
class Encoder
{
public:
    Encoder(const EncoderSettings& settings, IExportSource& source) : m_settings(settings), m_source(source)
    {
    }

    bool run(const QString& path) { return openEncoder() && openFile(path) && writeSamples() && finish(); }

private:
    bool fail(const QString& cause, int code)
    {
        m_source.message(code < 0 ? tr("%1: %2").arg(cause, avError(code)) : cause);
        return false;
    }
    bool openEncoder();
    bool checkFormat(const AVCodec& codec);
    void setLayout();
    bool openFile(const QString& path);
    bool writeSamples();
    bool writeBlock(const float* samples, int64_t frames);
    void fill(const float* samples, int64_t frames);
    // A null frame drains the encoder.
    bool send(const AVFrame* frame);
    bool finish();

    const EncoderSettings& m_settings;
    IExportSource& m_source;
    CodecPtr m_codec;
    std::unique_ptr<AVFormatContext, OutputDeleter> m_output;
    FramePtr m_frame{av_frame_alloc()};
    PacketPtr m_packet{av_packet_alloc()};
    AVStream* m_stream = nullptr;
    int m_frameSize = 0;
    int64_t m_sent = 0;
};

bool Encoder::checkFormat(const AVCodec& codec)
{
    const SamplingFormat format = m_source.format();
    const QString name = QString::fromLatin1(m_settings.container);
    if (format.isComplex())
        return fail(tr("%1 files hold no complex samples.").arg(name), 0);
    const int rate = format.sampleRate < 1e9 ? int(std::lround(format.sampleRate)) : 0;
    bool known = rate > 0 && double(rate) == format.sampleRate;
    QStringList rates;
    for (const int* r = codec.supported_samplerates; r && *r; ++r)
        rates << QString::number(*r);
    known = known && (rates.isEmpty() || rates.contains(QString::number(rate)));
    if (!known)
        return fail(
            tr("%1 files hold no rate of %2 Hz.").arg(name).arg(format.sampleRate) +
                (rates.isEmpty() ? QString() : tr(" Rates: %1.").arg(rates.join(QStringLiteral(", ")))),
            0);
    return true;
}

// The channels in their own places where FFmpeg knows them, otherwise the usual ones of their count.
void Encoder::setLayout()
{
    const SamplingFormat format = m_source.format();
    if (av_channel_layout_from_mask(&m_codec->ch_layout, format.channelsMask) == 0 &&
        m_codec->ch_layout.nb_channels == format.channels)
        return;
    av_channel_layout_uninit(&m_codec->ch_layout);
    av_channel_layout_default(&m_codec->ch_layout, format.channels);
}

bool Encoder::openEncoder()
{
    const AVCodec* codec = avcodec_find_encoder_by_name(m_settings.encoder);
    if (!codec || !m_frame || !m_packet)
        return fail(tr("The encoder is missing."), 0);
    if (!checkFormat(*codec))
        return false;
    m_codec.reset(avcodec_alloc_context3(codec));
    m_codec->sample_rate = int(std::lround(m_source.format().sampleRate));
    m_codec->time_base = {1, m_codec->sample_rate};
    setLayout();
    m_codec->sample_fmt = m_settings.bits == 16   ? AV_SAMPLE_FMT_S16
                          : m_settings.bits == 24 ? AV_SAMPLE_FMT_S32
                                                  : AV_SAMPLE_FMT_FLT;
    const auto takes = [codec](AVSampleFormat wanted) {
        for (const AVSampleFormat* f = codec->sample_fmts; f && *f >= 0; ++f)
            if (*f == wanted)
                return true;
        return false;
    };
    if (!takes(m_codec->sample_fmt))
        m_codec->sample_fmt = av_get_planar_sample_fmt(m_codec->sample_fmt);
    m_codec->bits_per_raw_sample = m_settings.bits;
    if (m_settings.quality > 0) {
        m_codec->flags |= AV_CODEC_FLAG_QSCALE;
        m_codec->global_quality = m_settings.quality * FF_QP2LAMBDA;
    } else if (m_settings.bitsPerSecond > 0) {
        m_codec->bit_rate = m_settings.bitsPerSecond * m_source.format().channels;
    }
    const AVOutputFormat* container = av_guess_format(m_settings.container, nullptr, nullptr);
    if (container && (container->flags & AVFMT_GLOBALHEADER))
        m_codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    m_codec->strict_std_compliance = FF_COMPLIANCE_NORMAL;
    const int code = avcodec_open2(m_codec.get(), codec, nullptr);
    if (code < 0)
        return fail(tr("The encoder refuses %1 channels at %2 Hz")
                        .arg(m_source.format().channels)
                        .arg(m_source.format().sampleRate),
                    code);
    m_frameSize = m_codec->frame_size > 0 ? m_codec->frame_size : freeFrameSize;
    return true;
}

bool Encoder::openFile(const QString& path)
{
    AVFormatContext* context = nullptr;
    int code = avformat_alloc_output_context2(&context, nullptr, m_settings.container, nullptr);
    if (code < 0)
        return fail(tr("The file cannot be made"), code);
    m_output.reset(context);
    // The prefix keeps a name with a colon in it from being taken for a protocol.
    const QByteArray url = "file:" + QFile::encodeName(path);
    code = avio_open(&context->pb, url.constData(), AVIO_FLAG_WRITE);
    m_stream = code < 0 ? nullptr : avformat_new_stream(context, nullptr);
    if (!m_stream)
        return fail(tr("The file cannot be made"), code);
    m_stream->time_base = m_codec->time_base;
    avcodec_parameters_from_context(m_stream->codecpar, m_codec.get());
    tags::toDictionary(m_source.metaData(), &context->metadata);
    code = avformat_write_header(context, nullptr);
    return code >= 0 || fail(tr("The file cannot be written"), code);
}

bool Encoder::writeSamples()
{
    const int channels = m_source.format().channels;
    const int64_t frames = m_source.frames();
    // Whole frames of the encoder, so that only the last one is short.
    const int64_t blockFrames = std::max<int64_t>(1, blockFloats / channels / m_frameSize) * m_frameSize;
    std::vector<float> block(std::size_t(blockFrames * channels));
    for (int64_t start = 0; start < frames; start += blockFrames) {
        const int64_t count = std::min(blockFrames, frames - start);
        if (!m_source.progress(start, frames) || !m_source.samples(block.data(), start, count) ||
            !writeBlock(block.data(), count))
            return false;
    }
    return m_source.progress(frames, frames);
}

bool Encoder::writeBlock(const float* samples, int64_t frames)
{
    for (int64_t from = 0; from < frames; from += m_frameSize) {
        av_frame_unref(m_frame.get());
        m_frame->nb_samples = int(std::min<int64_t>(m_frameSize, frames - from));
        m_frame->format = m_codec->sample_fmt;
        m_frame->sample_rate = m_codec->sample_rate;
        m_frame->pts = m_sent;
        int code = av_channel_layout_copy(&m_frame->ch_layout, &m_codec->ch_layout);
        code = code < 0 ? code : av_frame_get_buffer(m_frame.get(), 0);
        if (code < 0)
            return fail(tr("The samples cannot be encoded"), code);
        fill(samples + from * m_source.format().channels, m_frame->nb_samples);
        m_sent += m_frame->nb_samples;
        if (!send(m_frame.get()))
            return false;
    }
    return true;
}

void Encoder::fill(const float* samples, int64_t frames)
{
    const int channels = m_source.format().channels;
    if (m_codec->sample_fmt == AV_SAMPLE_FMT_S16) {
        convert::toInt16(reinterpret_cast<int16_t*>(m_frame->data[0]), samples, frames * channels);
    } else if (m_codec->sample_fmt == AV_SAMPLE_FMT_S32) {
        auto* out = reinterpret_cast<int32_t*>(m_frame->data[0]);
        convert::toInt32(out, samples, m_settings.bits, frames * channels);
        for (int64_t i = 0; i < frames * channels; ++i) // the encoder takes the upper bits
            out[i] = int32_t(uint32_t(out[i]) << (32 - m_settings.bits));
    } else if (m_codec->sample_fmt == AV_SAMPLE_FMT_FLTP) {
        for (int c = 0; c < channels; ++c) {
            auto* out = reinterpret_cast<float*>(m_frame->extended_data[c]);
            for (int64_t i = 0; i < frames; ++i)
                out[i] = samples[i * channels + c];
        }
    } else {
        std::copy_n(samples, frames * channels, reinterpret_cast<float*>(m_frame->data[0]));
    }
}

bool Encoder::send(const AVFrame* frame)
{
    int code = avcodec_send_frame(m_codec.get(), frame);
    while (code >= 0) {
        code = avcodec_receive_packet(m_codec.get(), m_packet.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return true;
        if (code < 0)
            break;
        av_packet_rescale_ts(m_packet.get(), m_codec->time_base, m_stream->time_base);
        m_packet->stream_index = m_stream->index;
        code = av_interleaved_write_frame(m_output.get(), m_packet.get());
    }
    return fail(tr("The samples cannot be encoded"), code);
}

bool Encoder::finish()
{
    if (!send(nullptr))
        return false;
    int code = av_write_trailer(m_output.get());
    avio_flush(m_output->pb);
    code = code < 0 ? code : m_output->pb->error;
    const int closed = avio_closep(&m_output->pb);
    code = code < 0 ? code : closed;
    return code >= 0 || fail(tr("The file cannot be written"), code);
}

} // namespace

bool encoderIsThere(const EncoderSettings& settings)
{
    return avcodec_find_encoder_by_name(settings.encoder) &&
           av_guess_format(settings.container, nullptr, nullptr);
}

bool encode(const QString& path, const EncoderSettings& settings, IExportSource& source)
{
    return Encoder(settings, source).run(path);
}
