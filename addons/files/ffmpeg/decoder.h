// One file, decoded from its first sample to its last.
#pragma once

#include "avpointers.h"
#include "blockqueue.h"
#include "inputfile.h"

#include "model/types/marker.h"

#include <cstdint>

#include <QString>
#include <QStringList>

// Runs on a thread of its own and fills the queue: the head with the format of the first decoded
// frame (containers may tell less than the truth), blocks, the end. Never seeks, since positions
// are off after a seek in several formats. Encoder delay and padding are trimmed where the file
// tells them. Damage is passed over; lost samples become silence where their count is known, so that
// what follows stays at its time.
class Decoder
{
public:
    Decoder(InputFile& file, BlockQueue& queue) : m_file(file), m_queue(queue) {}

    // The whole run; call it on the decoding thread. Throws nothing.
    void run() noexcept;

    // Good once the queue has given Head.
    [[nodiscard]] const MetaDataList& metaData() const { return m_metaData; }
    [[nodiscard]] const MarkerList& markers() const { return m_markers; }
    // Good once the queue has given End: words about failure or damage.
    [[nodiscard]] const QStringList& messages() const { return m_messages; }

private:
    void decode();
    bool openInput();
    bool openDecoder();
    void readTags();
    void readPackets();
    // Takes what the decoder has ready. False: enough.
    bool receive();
    bool take(const AVFrame& frame);
    bool begin(const AVFrame& frame);
    void beginWithoutFrames();
    void readWaveLength();
    [[nodiscard]] int64_t exactMovLength(int64_t edited, AVRational perSample) const;
    void fillGap(const AVFrame& frame);
    bool append(const AVFrame& frame, int64_t frames);
    bool appendSilence(int64_t frames);
    bool flush();
    // Room for at least one more sample point in the current block; how many.
    int64_t room();
    void reportDamage();
    void fail(const QString& cause, int code);

    InputFile& m_file;
    BlockQueue& m_queue;
    InputPtr m_input;
    CodecPtr m_codec;
    FramePtr m_frame;
    AVStream* m_stream = nullptr;
    ImportInfo m_info;
    bool m_begun = false;
    bool m_formatChanged = false;
    int64_t m_delay = -1;         // samples dropped at the start; -1: no packet yet
    int64_t m_mediaDuration = -1; // of an MP4 track, in its time base; -1: not known
    int64_t m_announced = -1;     // sample points that the head promises exactly; -1: it does not
    int64_t m_limit = -1;         // sample points to keep at most; -1: all
    int64_t m_done = 0;           // sample points put into blocks
    int64_t m_firstTime = 0;      // time stamp of the first frame, in sample points
    bool m_timesCount = false;    // time stamps count sample points
    int64_t m_errors = 0;         // packets that could not be decoded
    std::vector<float> m_block;
    int64_t m_blockFrames = 0;
    MetaDataList m_metaData;
    MarkerList m_markers;
    QStringList m_messages;
};
