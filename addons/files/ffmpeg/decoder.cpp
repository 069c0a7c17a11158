#include "decoder.h"

#include "convert.h"
#include "tags.h"

#include <algorithm>
#include <cstdlib>
#include <exception>

#include <QCoreApplication>
#include <QtEndian>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace {

constexpr int maxChannels = 64;
constexpr const char* packetBytes = "1048576"; // of plain PCM: one packet fills about one block

QString tr(const char* text)
{
    return QCoreApplication::translate("ffmpeg", text);
}

// A file that names others (play lists do) gets none of them.
int refuseToOpen(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**)
{
    return AVERROR(EPERM);
}

bool isMov(const AVFormatContext& input)
{
    return QByteArray(input.iformat->name).contains("mov");
}

// Containers whose head tells the count of samples exactly, for these kinds of samples.
bool tellsExactCount(const AVFormatContext& input, AVCodecID codec)
{
    static const char* const containers[] = {"wav", "w64", "aiff", "caf", "au", "flac"};
    const bool plain = codec == AV_CODEC_ID_FLAC || av_get_exact_bits_per_sample(codec) > 0;
    return plain && std::any_of(std::begin(containers), std::end(containers),
                                [&](const char* name) { return qstrcmp(input.iformat->name, name) == 0; });
}

// Length of the audio track of an MP4 in its own time base as its media header tells it, delay and
// padding rules not applied; -1 when it cannot be told. A second look at the head, since FFmpeg
// overwrites this number by that of the edit list, which is rounded to the movie's coarser clock.
int64_t mediaDuration(InputFile& file, int streamIndex)
{
    AVFormatContext* context = avformat_alloc_context();
    if (!context)
        throw std::bad_alloc();
    const int64_t position = avio_seek(file.context(), 0, SEEK_CUR);
    avio_seek(file.context(), 0, SEEK_SET);
    context->pb = file.context();
    context->io_open = refuseToOpen;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "ignore_editlist", "1", 0);
    int64_t duration = -1;
    if (avformat_open_input(&context, "", nullptr, &options) >= 0) {
        if (streamIndex < int(context->nb_streams))
            duration = context->streams[streamIndex]->duration;
        avformat_close_input(&context);
    }
    av_dict_free(&options);
    avio_seek(file.context(), position, SEEK_SET);
    return duration > 0 ? duration : -1;
}

int64_t maskOf(const AVChannelLayout& layout)
{
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? int64_t(layout.u.mask) : 0;
}

} // namespace

void Decoder::run() noexcept
{
    try {
        decode();
    } catch (const std::exception& e) {
        m_messages << QString::fromLocal8Bit(e.what());
    }
    m_queue.push({ImportItem::End, {}, {}, 0});
}

void Decoder::decode()
{
    if (!openInput() || !openDecoder())
        return;
    readTags();
    if (isMov(*m_input))
        m_mediaDuration = mediaDuration(m_file, m_stream->index);
    readPackets();
    if (!m_begun)
        beginWithoutFrames();
    flush();
    reportDamage();
}

void Decoder::fail(const QString& cause, int code)
{
    m_messages << (code < 0 ? tr("%1: %2").arg(cause, avError(code)) : cause);
}

bool Decoder::openInput()
{
    AVFormatContext* context = avformat_alloc_context();
    if (!context)
        throw std::bad_alloc();
    context->pb = m_file.context();
    context->io_open = refuseToOpen;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "max_size", packetBytes, 0);
    // On failure the context is freed there.
    const int opened = avformat_open_input(&context, "", nullptr, &options);
    av_dict_free(&options);
    if (opened < 0) {
        fail(tr("The format was not recognised"), opened);
        return false;
    }
    m_input.reset(context);
    const int found = avformat_find_stream_info(context, nullptr);
    const int index = av_find_best_stream(context, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (found < 0 || index < 0) {
        fail(tr("The file holds no sound that can be read"), found);
        return false;
    }
    m_stream = context->streams[index];
    for (unsigned i = 0; i < context->nb_streams; ++i)
        context->streams[i]->discard = int(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    return true;
}

bool Decoder::openDecoder()
{
    const AVCodecParameters& parameters = *m_stream->codecpar;
    if (parameters.ch_layout.nb_channels > maxChannels) {
        fail(tr("The file has %1 channels; %2 can be read.")
                 .arg(parameters.ch_layout.nb_channels)
                 .arg(maxChannels),
             0);
        return false;
    }
    if (parameters.sample_rate <= 0 || parameters.ch_layout.nb_channels <= 0) {
        fail(tr("The file holds no sound that can be read"), 0);
        return false;
    }
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    if (!codec) {
        fail(
            tr("There is no decoder for %1.").arg(QString::fromLatin1(avcodec_get_name(parameters.codec_id))),
            0);
        return false;
    }
    m_codec.reset(avcodec_alloc_context3(codec));
    m_frame.reset(av_frame_alloc());
    if (!m_codec || !m_frame)
        throw std::bad_alloc();
    int code = avcodec_parameters_to_context(m_codec.get(), &parameters);
    m_codec->pkt_timebase = m_stream->time_base; // or delay and padding stay in
    m_codec->thread_count = 0;
    // A damaged frame of FLAC is left out (and becomes silence) rather than heard as noise.
    if (codec->id == AV_CODEC_ID_FLAC)
        m_codec->err_recognition = AV_EF_CRCCHECK | AV_EF_EXPLODE;
    code = code < 0 ? code : avcodec_open2(m_codec.get(), codec, nullptr);
    if (code < 0)
        fail(tr("The decoder for %1 refuses the file").arg(QString::fromLatin1(codec->name)), code);
    return code >= 0;
}

void Decoder::readTags()
{
    tags::fromDictionary(m_input->metadata, m_metaData);
    tags::fromDictionary(m_stream->metadata, m_metaData);
}

// How many samples the decoder drops at the start, as the first packet tells it.
static int64_t skippedSamples(const AVPacket& packet)
{
    size_t size = 0;
    const uint8_t* data = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size);
    return data && size >= 4 ? qFromLittleEndian<quint32>(data) : 0;
}

void Decoder::readPackets()
{
    const PacketPtr packet(av_packet_alloc());
    if (!packet)
        throw std::bad_alloc();
    for (;;) {
        const int read = av_read_frame(m_input.get(), packet.get());
        if (read < 0) {
            if (read != AVERROR_EOF && read != AVERROR_EXIT)
                ++m_errors;
            break;
        }
        // Plain samples: less than one sample point at the end is left over, and no damage.
        const int align = m_stream->codecpar->block_align;
        if (align > 0 && av_get_exact_bits_per_sample(m_codec->codec_id) > 0)
            av_shrink_packet(packet.get(), packet->size - packet->size % align);
        const bool wanted = packet->stream_index == m_stream->index && packet->size > 0;
        if (wanted && m_delay < 0)
            m_delay = skippedSamples(*packet);
        if (wanted && avcodec_send_packet(m_codec.get(), packet.get()) < 0)
            ++m_errors;
        av_packet_unref(packet.get());
        if (!receive())
            return;
    }
    avcodec_send_packet(m_codec.get(), nullptr);
    receive();
}

bool Decoder::receive()
{
    for (;;) {
        const int code = avcodec_receive_frame(m_codec.get(), m_frame.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return !m_queue.stopped();
        if (code < 0) {
            ++m_errors;
            // A decoder that fails for ever while it is drained must not hold us.
            return code == AVERROR_INVALIDDATA && !m_queue.stopped();
        }
        const bool more = take(*m_frame);
        av_frame_unref(m_frame.get());
        if (!more)
            return false;
    }
}

bool Decoder::take(const AVFrame& frame)
{
    if (frame.nb_samples <= 0)
        return true;
    if (!m_begun && !begin(frame))
        return false;
    if (frame.sample_rate != int(m_info.format.sampleRate) ||
        frame.ch_layout.nb_channels != m_info.format.channels) {
        m_formatChanged = true;
        return false;
    }
    if (m_errors > 0)
        fillGap(frame);
    int64_t frames = frame.nb_samples;
    if (m_limit >= 0)
        frames = std::min(frames, m_limit - m_done);
    return frames > 0 ? append(frame, frames) : m_limit < 0 || m_done < m_limit;
}

bool Decoder::begin(const AVFrame& frame)
{
    m_begun = true;
    const AVCodecParameters& parameters = *m_stream->codecpar;
    const AVRational perSample{1, frame.sample_rate};
    SamplingFormat& format = m_info.format;
    format.sampleRate = frame.sample_rate;
    format.channels = frame.ch_layout.nb_channels;
    format.channelsMask = uint64_t(maskOf(frame.ch_layout));
    const auto sampleFormat = AVSampleFormat(frame.format);
    const AVSampleFormat packed = av_get_packed_sample_fmt(sampleFormat);
    m_info.bits = parameters.bits_per_raw_sample > 0 ? parameters.bits_per_raw_sample
                                                     : 8 * av_get_bytes_per_sample(sampleFormat);
    m_info.isFloat = packed == AV_SAMPLE_FMT_FLT || packed == AV_SAMPLE_FMT_DBL;
    if (m_stream->duration > 0) {
        m_info.expectedFrames = av_rescale_q(m_stream->duration, m_stream->time_base, perSample);
        // Files of this family decode to whole packets; what lies after the end is padding.
        if (isMov(*m_input))
            m_limit = m_info.expectedFrames = exactMovLength(m_info.expectedFrames, perSample);
    }
    if (tellsExactCount(*m_input, parameters.codec_id))
        m_announced = m_info.expectedFrames;
    readWaveLength();
    m_timesCount = m_stream->time_base.num == 1 && m_stream->time_base.den == frame.sample_rate;
    m_firstTime = frame.pts;
    for (unsigned i = 0; i < m_input->nb_chapters; ++i) {
        const AVChapter& chapter = *m_input->chapters[i];
        const int64_t start = av_rescale_q(chapter.start, chapter.time_base, perSample);
        const int64_t end = av_rescale_q(chapter.end, chapter.time_base, perSample);
        const AVDictionaryEntry* title = av_dict_get(chapter.metadata, "title", nullptr, 0);
        m_markers << Marker{int32_t(i + 1), std::max<int64_t>(0, start), std::max<int64_t>(0, end - start),
                            title ? title->value : ""};
    }
    return format.channels <= maxChannels && m_queue.push({ImportItem::Head, m_info, {}, 0});
}

// FFmpeg's own figure for a WAV follows what is there, not what is announced.
void Decoder::readWaveLength()
{
    const WaveHead& head = m_file.waveHead();
    if (!head.isWave || head.align < 1 || av_get_exact_bits_per_sample(m_codec->codec_id) == 0)
        return;
    m_announced = head.dataBytes < 0 ? -1 : head.dataBytes / head.align;
    const int64_t present = (m_file.size() - head.dataBegin) / head.align;
    m_info.expectedFrames = m_announced < 0 ? present : std::min(m_announced, present);
}

// The track's length without its delay, where the edit list means the same within one tick of the
// movie's clock (1/600 s is the coarsest in use); otherwise the edit list's.
int64_t Decoder::exactMovLength(int64_t edited, AVRational perSample) const
{
    if (m_mediaDuration < 0)
        return edited;
    const int64_t whole =
        av_rescale_q(m_mediaDuration, m_stream->time_base, perSample) - std::max<int64_t>(0, m_delay);
    return std::llabs(whole - edited) <= perSample.den / 600 + 1 ? whole : edited;
}

// A decoder that gave nothing: the host tells the user that there is no data.
void Decoder::beginWithoutFrames()
{
    const AVCodecParameters& parameters = *m_stream->codecpar;
    m_info.format.sampleRate = parameters.sample_rate;
    m_info.format.channels = parameters.ch_layout.nb_channels;
    m_info.format.channelsMask = uint64_t(maskOf(parameters.ch_layout));
    m_info.bits = parameters.bits_per_raw_sample;
    m_queue.push({ImportItem::Head, m_info, {}, 0});
}

// Silence in place of packets that could not be decoded, as far as the time stamps tell it.
void Decoder::fillGap(const AVFrame& frame)
{
    if (!m_timesCount || frame.pts == AV_NOPTS_VALUE || m_firstTime == AV_NOPTS_VALUE || m_done == 0)
        return;
    const int64_t gap = frame.pts - m_firstTime - m_done;
    const int64_t end = frame.pts - m_firstTime + frame.nb_samples;
    // A time stamp past the announced end is part of the damage.
    if (gap > 0 && m_info.expectedFrames > 0 && end <= m_info.expectedFrames)
        appendSilence(gap);
}

int64_t Decoder::room()
{
    const int64_t capacity = std::max<int64_t>(1, BlockQueue::blockFloats / m_info.format.channels);
    if (m_blockFrames == capacity && !flush())
        return 0;
    if (m_block.empty()) {
        m_block = m_queue.takeBuffer();
        m_block.resize(std::size_t(capacity * m_info.format.channels));
    }
    return capacity - m_blockFrames;
}

bool Decoder::append(const AVFrame& frame, int64_t frames)
{
    const auto format = AVSampleFormat(frame.format);
    const bool planar = av_sample_fmt_is_planar(format);
    const int channels = m_info.format.channels;
    const int64_t step = int64_t(av_get_bytes_per_sample(format)) * (planar ? 1 : channels);
    const uint8_t* planes[maxChannels];
    for (int64_t from = 0; from < frames;) {
        const int64_t count = std::min(frames - from, room());
        if (count < 1)
            return false;
        for (int c = 0; c < (planar ? channels : 1); ++c)
            planes[c] = frame.extended_data[c] + from * step;
        if (!convert::toFloat(m_block.data() + m_blockFrames * channels, planes, planar,
                              av_get_packed_sample_fmt(format), channels, count)) {
            fail(tr("The decoder gives samples of an unknown kind."), 0);
            return false;
        }
        from += count;
        m_blockFrames += count;
        m_done += count;
    }
    return true;
}

bool Decoder::appendSilence(int64_t frames)
{
    const int channels = m_info.format.channels;
    while (frames > 0) {
        const int64_t count = std::min(frames, room());
        if (count < 1)
            return false;
        std::fill_n(m_block.begin() + m_blockFrames * channels, count * channels, 0.0f);
        frames -= count;
        m_blockFrames += count;
        m_done += count;
    }
    return true;
}

bool Decoder::flush()
{
    if (m_blockFrames == 0)
        return true;
    const int64_t frames = std::exchange(m_blockFrames, 0);
    return m_queue.push({ImportItem::Samples, {}, std::move(m_block), frames});
}

void Decoder::reportDamage()
{
    if (m_queue.stopped())
        return;
    if (m_formatChanged)
        fail(tr("Rate or channels change after %1 samples; the rest was left out.").arg(m_done), 0);
    else if (m_done < m_announced)
        fail(tr("The file is damaged: it announces %1 samples, and %2 could be read.")
                 .arg(m_announced)
                 .arg(m_done),
             0);
    else if (m_errors > 0)
        fail(tr("The file is damaged: %1 parts of it could not be read.").arg(m_errors), 0);
}
