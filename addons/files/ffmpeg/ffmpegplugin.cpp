#include "ffmpegplugin.h"

#include "decoder.h"
#include "exportformats.h"

#include <thread>

extern "C" {
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

namespace {

// One allocation of a decoder or demuxer; files that ask for more lie.
constexpr size_t maxAllocation = 256u << 20;
constexpr std::chrono::milliseconds wait(50);

const char* const filters[] = {
    "Microsoft WAV (*.wav *.wave *.bwf *.rf64)",
    "Sony Wave64 (*.w64)",
    "AIFF (*.aif *.aiff *.aifc)",
    "Core Audio Format (*.caf)",
    "Sun audio (*.au *.snd)",
    "FLAC (*.flac *.fla)",
    "Ogg Vorbis (*.ogg *.oga)",
    "Ogg Opus (*.opus)",
    "MPEG audio (*.mp3 *.mp2 *.mpa)",
    "AAC (*.m4a *.m4b *.aac *.m4r)",
    "Windows Media Audio (*.wma *.asf)",
    "Lossless audio (*.wv *.ape *.tta *.tak)",
    "Dolby and DTS (*.ac3 *.eac3 *.dts)",
    "AMR (*.amr)",
    "Video (*.mp4 *.m4v *.mov *.mkv *.mka *.webm *.avi *.wmv *.flv *.3gp)",
    "MPEG video (*.mpg *.mpeg *.ts *.m2ts *.vob *.ogv)",
};

// Moves what the decoding thread makes into the sink. True when the sink took all of it.
bool drain(BlockQueue& queue, const InputFile& file, const Decoder& decoder, bool isWave, const QString& path,
           const HostTable& host, IImportSink& sink)
{
    bool begun = false;
    for (;;) {
        ImportItem item = queue.pop(wait);
        switch (item.kind) {
        case ImportItem::Nothing:
            break;
        case ImportItem::Head:
            begun = true;
            if (item.info.format.channelsMask == 0)
                item.info.format.channelsMask =
                    host.defaultChannelsMask(ChannelsTypeAudio, item.info.format.channels);
            if (!sink.begin(item.info))
                return false;
            break;
        case ImportItem::Samples:
            if (!sink.samples(item.samples.data(), item.frames))
                return false;
            queue.giveBack(std::move(item.samples));
            break;
        case ImportItem::End: {
            if (!begun)
                return false;
            MetaDataList tags = isWave ? MetaDataList() : decoder.metaData();
            MarkerList markers = isWave ? MarkerList() : decoder.markers();
            if (isWave) {
                host.readMarkers(path, markers);
                host.readMetaData(path, tags);
            }
            sink.metaData(tags);
            sink.markers(markers);
            return true;
        }
        }
        if (!sink.progress(file.position, file.size()))
            return false;
    }
}

} // namespace

bool FfmpegPlugin::init(const QString&, QWidget*)
{
    av_log_set_level(AV_LOG_QUIET);
    av_max_alloc(maxAllocation);
    return true;
}

QString FfmpegPlugin::description() const
{
    return QStringLiteral("FFmpeg");
}

QStringList FfmpegPlugin::importFilters() const
{
    QStringList list;
    for (const char* filter : filters)
        list << QString::fromLatin1(filter);
    return list;
}

QStringList FfmpegPlugin::exportFilters() const
{
    return exportformats::filters();
}

bool FfmpegPlugin::importFile(const QString& path, IImportSink& sink)
{
    InputFile file;
    if (!file.open(path)) {
        sink.message(file.error());
        return false;
    }
    const WaveHead& head = file.waveHead();
    if (head.hasFormat && (head.channels < 1 || head.rate < 1)) {
        ImportInfo info;
        info.format.channels = head.channels;
        info.format.sampleRate = double(head.rate);
        sink.begin(info);
        return false;
    }
    BlockQueue queue;
    Decoder decoder(file, queue);
    std::thread thread([&decoder] { decoder.run(); });
    const auto join = [&] {
        file.stop = true;
        queue.stop();
        thread.join();
    };
    bool good = false;
    try {
        good = drain(queue, file, decoder, head.isWave, path, host, sink);
    } catch (...) {
        join();
        throw;
    }
    join();
    for (const QString& message : decoder.messages())
        sink.message(message);
    return good;
}

bool FfmpegPlugin::exportFile(const QString& path, const QString& filter, IExportSource& source)
{
    return exportformats::write(path, filter, source);
}
