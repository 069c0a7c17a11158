// The samples of one layer: a mapped session file, its span and the locks over both.
#pragma once

#include "base/locks.h"
#include "model/types/range.h"
#include "model/types/samplingformat.h"

#include <array>
#include <functional>
#include <memory>
#include <vector>

#include <QString>

class Resampler;
class SessionFile;

// Raw 32-bit floats in time order, channels interleaved, complex samples as (re, im) pairs in each
// channel slot; sample point p of the span stands at frame p - start. There is a file only when the
// length is above 0, and its size is then length * frameBytes (more only while an append has a
// reserve).
//
// Threads. The const members and store(), add() may be called from any thread. Calls that change the
// structure (all others) are made by one thread at a time and never beside store() or add(): the
// owner sees to that. Readers need not be kept away: a new file is filled first and taken over under
// the map lock, which is held for no longer than that.
//
// Samples are guarded in blocks of 65536 sample points by a few locks, shared by readers and
// exclusive for a writer, so that a reader never sees half a number and waits for one block at most.
//
// Members that return false have changed nothing; SessionFile::lastError() tells why.
class SampleStore
{
public:
    // Where sample files lie: the application's property "sessionpath". Empty: nothing can be stored.
    [[nodiscard]] static QString sessionFolder();

    explicit SampleStore(const SamplingFormat& format, int64_t start = 0);
    ~SampleStore();
    SampleStore(const SampleStore&) = delete;
    SampleStore& operator=(const SampleStore&) = delete;

    [[nodiscard]] SamplingFormat format() const;
    [[nodiscard]] Range range() const;
    [[nodiscard]] QString filePath() const;

    // Fills `out` for `ask`, one channel contiguously or, for channel -1, all interleaved. Where there
    // is no data `out` is left alone, or zero with `overwrite`. Without `overwrite` samples are added.
    // `gain` multiplies. A channel that does not exist counts as no data. No heap allocation.
    void read(float* out, const Range& ask, int32_t channel, bool overwrite, float gain) const;
    // The same with ask.start told after a look at the span that is current then: `toRaw(start)`.
    template<class Mapping>
    void readMapped(float* out, Range ask, int32_t channel, bool overwrite, float gain,
                    const Mapping& toRaw) const
    {
        const ReadLocker locker(m_map);
        ask.start = toRaw(m_start);
        readLocked(out, ask, channel, overwrite, gain);
    }
    // Adds as read() does, if the samples have the channels and the type of `layout`; else nothing. One look
    // at everything under one lock: a mix of many layers spends its time on little else.
    void addTo(float* out, const Range& ask, int32_t channel, float gain, const SamplingFormat& layout) const;
    // Stores or adds; layout as in read(). What lies outside the span is passed over.
    void store(const float* in, const Range& range, int32_t channel, bool overwrite);

    // Makes the span exactly `target`: what both have in common stays, new sample points are zero.
    [[nodiscard]] bool resize(const Range& target);
    // The same for a store that holds old samples of another, of which a keeper may have noted that they
    // are here.
    [[nodiscard]] bool resizeImage(const Range& target);
    // Whether resize() changes the file that is there.
    [[nodiscard]] bool isResizedInPlace(const Range& target) const;
    // Before samples are changed in the file: those of `range` stand in `image` as they are here. An empty
    // range: only the length is going to change. False: that could not be noted, so nothing may be changed.
    [[nodiscard]] bool guard(const Range& range, const SampleStore& image) const;
    // Moves the span. No sample moves.
    void shift(int64_t samples);
    // Samples of `source` in `range`, which must lie inside both spans. The formats must be alike.
    void copyFrom(const SampleStore& source, const Range& range);
    // Sample points of a store and their place in another one.
    struct Stretch
    {
        Range from;
        int64_t to = 0;
    };
    // Told after so many bytes; false ends the work.
    using Work = std::function<bool(int64_t bytes)>;
    // Copies the pieces into this store, which nobody else knows yet and whose span holds them. The formats
    // must be alike. False when `goOn` (may be empty) says no.
    [[nodiscard]] bool fillFrom(const SampleStore& source, const std::vector<Stretch>& pieces,
                                const Work& goOn);
    // Fills the span of this store, which nobody else knows yet, with all samples of `source` as
    // `resampler` converts them. `goOn` (may be empty) is asked every few blocks. False when it answers
    // no or the resampler does not make as many sample points; this store is then to be thrown away.
    [[nodiscard]] bool convertFrom(const SampleStore& source, Resampler& resampler,
                                   const std::function<bool()>& goOn);
    // Span, format and file change owners; `other` is nobody else's.
    void exchangeWith(SampleStore& other);
    // See Layer::setFormat.
    [[nodiscard]] bool setFormat(const SamplingFormat& format);
    // Takes a file over as it is: the samples of the whole span. On false it is still the caller's.
    [[nodiscard]] bool adopt(std::unique_ptr<SessionFile>& file);
    // The file stays when the store dies.
    void keepFile();

    // See Layer::append.
    [[nodiscard]] bool append(const float* interleaved, int64_t frames);
    [[nodiscard]] bool reserve(int64_t frames);
    bool finishAppend();

private:
    static constexpr int blockBits = 16;
    static constexpr int stripeCount = 8;

    // Calls piece(first, frames) for each part of `frames` sample points of the file from `first` on
    // that lies in one block, with the block's lock held.
    template<class Piece>
    void forReading(int64_t first, int64_t frames, const Piece& piece) const;
    template<class Piece>
    void forWriting(int64_t first, int64_t frames, const Piece& piece);
    void readLocked(float* out, const Range& ask, int32_t channel, bool overwrite, float gain) const;
    // Who mixes asks block after block of many layers in turn: the next block of this one is fetched into
    // the cache while the others are read. Under the lock of readLocked().
    void fetchAhead(const Range& range) const;
    [[nodiscard]] const float* frame(int64_t index) const;
    [[nodiscard]] float* frame(int64_t index);
    [[nodiscard]] std::unique_ptr<SessionFile> newFile(int64_t frames) const;
    void exchange(std::unique_ptr<SessionFile> file, const Range& span);
    // A new file of that span, filled with what both have in common.
    [[nodiscard]] std::unique_ptr<SessionFile> moved(const Range& target) const;
    [[nodiscard]] bool resizeInPlace(int64_t frames);

    mutable ReadWriteLock m_map; // guards the next four; taken exclusively only to exchange them
    SamplingFormat m_format;
    int64_t m_start;
    int64_t m_length = 0;
    std::unique_ptr<SessionFile> m_file;
    mutable std::array<ReadWriteLock, stripeCount> m_stripes; // guard the samples; block i by i % stripeCount
};
