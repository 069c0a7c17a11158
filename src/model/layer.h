// One stacked audio object: a named block of multichannel samples with mixing properties and a place
// on the timeline.
#pragma once

#include "base/locks.h"
#include "model/ilayer.h"
#include "model/samplestore.h"

#include <atomic>
#include <memory>
#include <vector>

// The three changes of the time line, see ILayer's insertTime, deleteTime and cropTo.
enum class TimeChangeKind { Insert, Delete, Crop };

// What a new layer starts with.
struct LayerHeader
{
    QString name;
    bool enabled = true;
    bool solo = false;
    int32_t polarity = 1;
    float multiplier = 1.0f;
    uint32_t color = 0xffffffff; // unset
};

// A layer owns its samples (SampleStore: one mapped file in the session folder) and, with a backup,
// what undo needs: a second, sparse layer that receives the old samples of every block of 65536
// sample points before it is changed for the first time since the last record. So the cost of an
// edit follows what it touches, not the length of the layer.
//
// Always held by shared pointers: made by the factories, which give the first one.
//
// Two kinds of time. read(), range() and area() speak of the timeline as it is seen and heard: raw
// positions plus timeOffset(), lengths times timeScale (a preview of a move; both are 0 and 1
// otherwise). Everything that changes samples or the span speaks of raw positions, those of the
// file; so do records and copies.
//
// Threads. read(), range(), area(), format() and the mixing properties: any thread, at any time; a
// reader waits at most for the exchange of a mapping or for the copy of one block. write(): any
// thread; writers of different blocks go on side by side, and two writers of one block one after
// the other. Everything else: GUI thread.
//
// Locks, in the order in which they are taken: m_edit of the layer; m_edit of its backup; the locks
// inside the stores; m_small and m_changedMutex are leaves. No lock of this layer is held while
// another layer is read, so a layer may be filled from a group that holds it.
//
// Errors. Samples live on a disk that may be full. What cannot be stored is not begun: the backup
// grows first, then the data, then samples are written; if either cannot grow, nothing has changed,
// the call returns false where it has a result, and takeStorageError() tells it afterwards. Calls on
// bad input (empty ranges, channels that do not exist, an unset format) do nothing and are no error.
class Layer : public ILayer, public std::enable_shared_from_this<Layer>
{
protected:
    struct Key
    {
        explicit Key() = default;
    };

public:
    // Sample points in a block of the backup.
    static constexpr int64_t backupBlock = 65536;
    // Where samples may end at most for project files to keep their place, and for views, which count in
    // doubles, to show each. No change of time moves samples beyond it.
    static constexpr int64_t farthestEnd = 1LL << 53;

    // An empty layer. `withBackup`: its edits can be undone (a layer of the user's tree).
    [[nodiscard]] static LayerPtr create(const SamplingFormat& format, const LayerHeader& header = {},
                                         int64_t start = 0, bool withBackup = true);
    // A layer on a file of raw samples of `format`, length by the file's size (a rest of less than a
    // sample point of all channels is cut off). With `copyFile` the samples are copied into a new
    // session file; otherwise the file, which must lie in the session folder, is adopted: the layer
    // writes to it and deletes it when it dies. A file that cannot be taken gives an empty layer and a
    // warning in the log.
    [[nodiscard]] static LayerPtr fromFile(const SamplingFormat& format, const LayerHeader& header,
                                           int64_t start, const QString& path, bool copyFile,
                                           bool withBackup);
    // The same for a session file that is adopted, with the cause in `words` instead of the log. What
    // became of a file of less than a sample point is an empty layer without a cause. Null when the file is
    // ours, but the system has no memory, descriptor or space for it now; it stays as it is.
    [[nodiscard]] static LayerPtr adoptFile(const SamplingFormat& format, const LayerHeader& header,
                                            int64_t start, const QString& path, bool withBackup,
                                            QString* words);
    // Name, mixing properties, colour, offset, scales and format of `other`; no data, no backup.
    [[nodiscard]] static LayerPtr headerCopy(const Layer& other);

    Layer(Key, const SamplingFormat& format, const LayerHeader& header, int64_t start);
    Layer(Key, const Layer& other); // header copy
    ~Layer() override;
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    // --- beyond ILayer -----------------------------------------------------------------------------

    // True when something could not be stored since the last call; `words` (may be null) receives
    // folder and cause of the first failure, for a message box. Any thread.
    bool takeStorageError(QString* words = nullptr);
    // The same, left for the next caller.
    [[nodiscard]] bool hasStorageError(QString* words = nullptr) const;

    // Raw data span, whatever offset and scales say. Any thread.
    [[nodiscard]] Range dataRange() const;
    // The samples as they are stored, for a raw span, all channels interleaved; zero where there is no
    // data. For saving. Any thread.
    void readData(float* out, Range range) const;
    // The file stays on disk when the layer dies: a document is given up that was half read from files
    // that were there before.
    void keepFile();
    [[nodiscard]] LayerHeader header() const;
    void setTimeOffset(double samples);
    void setScale(float timeScale, float gainScale);
    // The overlay that moves with this layer; null for none.
    void setAttached(const ILayerPtr& layer);
    // The group that holds this layer, or null. Set by the group.
    [[nodiscard]] ILayerPtr parent() const;
    void setParent(const ILayerPtr& group);
    // From now on changes are kept for undo; the present samples are the ground. No copy is made.
    void startBackup();
    // The sparse before-image and the span it stands for; null without one. For tests and history.
    [[nodiscard]] LayerPtr backup() const;
    [[nodiscard]] Range backupRange() const;
    [[nodiscard]] Range changedRange() const;
    // Records that are applied at present, oldest first.
    [[nodiscard]] QList<LayerRecord> records() const;
    // commitRecord() of a plain layer in two halves, so that several layers are recorded or none is. The
    // first makes the images and changes nothing: empty as there. The second one cannot fail; nothing may be
    // written in between.
    [[nodiscard]] LayerRecord prepareRecord();
    void adoptRecord(const LayerRecord& record);
    // For the history, when it lets a state go for good: the record no longer keeps its files alive.
    void forgetRecord(const LayerRecord& record);
    // When the document dies: no record and no before-image is kept any more.
    void forgetUndo();

    // Filling a layer from its end, as import and recording do, at the speed of a memory copy. One
    // thread appends; any others may read what has arrived meanwhile. The file is enlarged ahead in
    // big steps, so between the first append() and finishAppend() it is longer than the data.
    // Appending never needs a backup, as it overwrites nothing. False: no space; what was appended
    // before stays, and the layer is as if finishAppend() had been called.
    [[nodiscard]] bool append(const float* interleaved, int64_t frames);
    // A hint before the first append: room for so many sample points in all. A wrong number costs
    // nothing but time. False only when the space is not there.
    [[nodiscard]] bool reserve(int64_t frames);
    // Gives the reserve back. True unless the file could not be cut (it is then longer than the data,
    // and stays so).
    bool finishAppend();

    // For groups: read() without `overwrite`, and nothing where the channels or the type differ from those
    // of `layout`. False when the layer is moved or scaled on the timeline: nothing was done then, and
    // read() is to be asked. Any thread.
    [[nodiscard]] bool mixInto(float* out, const Range& range, int32_t channel, bool withAttached, float gain,
                               const SamplingFormat& layout) const;
    // Whether the samples here would have to be computed anew for that format: its rate, sample type or
    // channel count is another one, or the matrix is not the identity (an empty one asks for the default
    // remix, and is none).
    [[nodiscard]] virtual bool needsResampling(const SamplingFormat& target, const Matrix& matrix) const;

    // clone() with a look at a progress: null also when `goOn` (may be empty) says no, or when something is
    // written meanwhile. No lock is held while it is asked.
    [[nodiscard]] virtual LayerPtr cloneInSteps(bool withBackup, const SampleStore::Work& goOn) const;

    // --- ILayer ------------------------------------------------------------------------------------

    [[nodiscard]] int32_t type() const override { return LayerTypeLayer; }
    void setName(const std::string& name) override;
    [[nodiscard]] bool enabled() const override { return m_enabled; }
    void setEnabled(bool enabled) override;
    [[nodiscard]] bool solo() const override { return m_solo; }
    void setSolo(bool solo) override;
    [[nodiscard]] int32_t polarity() const override { return m_polarity; }
    void setPolarity(int32_t polarity) override; // anything below 0 is -1, all else 1
    [[nodiscard]] float multiplier() const override { return m_multiplier; }
    void setMultiplier(float multiplier) override; // not finite: ignored
    [[nodiscard]] uint32_t color() const override { return m_color; }
    void setColor(uint32_t color) override;
    [[nodiscard]] SamplingFormat format() const override;
    [[nodiscard]] Range range(bool withAttached = false) const override;
    [[nodiscard]] Area area() const override;
    [[nodiscard]] int64_t propertiesTime() const override { return m_propertiesTime; }
    [[nodiscard]] int64_t contentTime() const override { return m_contentTime; }
    [[nodiscard]] Range recordsRange() const override;
    [[nodiscard]] bool isEmpty() const override;
    [[nodiscard]] bool isOpen() const override { return false; }
    [[nodiscard]] bool contains(ILayerPtr layer, bool recursive) const override;
    bool insertChild(int32_t index, ILayerPtr layer) override;
    bool prependChild(ILayerPtr layer) override;
    bool appendChild(ILayerPtr layer) override;
    bool moveChild(int32_t, int32_t) override { return false; }
    bool removeChild(ILayerPtr layer) override;
    [[nodiscard]] int64_t sourceOffset() const override { return 0; }
    void setSourceOffset(int64_t) override {}
    // Negative time is cut off; an empty range removes the data.
    void setRange(Range range) override;
    void copyFrom(ILayerPtr source, Range range) override;
    void assignFrom(ILayerPtr source) override;
    void replaceBy(ILayerPtr source, bool overwrite) override;
    void clear() override;
    void resetToBackup() override;
    void read(float* out, Range range, int32_t channel, bool overwrite, bool withAttached = false,
              float gain = 1.0f) const override;
    bool write(const float* in, Range range, int32_t channel, bool overwrite) override;
    [[nodiscard]] std::string nameStd() const override;
    [[nodiscard]] std::list<ILayerPtr> childrenStd(int32_t mode) const override;
    [[nodiscard]] ILayerPtr sourceShared() const override;
    [[nodiscard]] QString filePath() const override;
    [[nodiscard]] QString name() const override;
    [[nodiscard]] double timeOffset() const override { return m_timeOffset; }
    [[nodiscard]] std::pair<float, float> scale() const override { return {m_timeScale, m_gainScale}; }
    [[nodiscard]] ILayerPtr attached() const override;
    [[nodiscard]] bool hasBackup() const override;
    void resetBackup(int32_t mode) override;
    // Empty when there is no backup, and also when the disk has no room for the copy of what was
    // changed: the storage error is then set, and the backup stays, so that resetToBackup() takes the
    // whole action back.
    LayerRecord commitRecord() override;
    bool setOpen(bool) override { return false; }
    [[nodiscard]] bool hasSolo() const override { return false; }
    // Here: whether `layer` is the attached one.
    [[nodiscard]] bool containsChild(const ILayerPtr& layer, bool recursive) const override;
    bool insertChildAt(int32_t, const ILayerPtr&) override { return false; }
    bool prependChildLayer(const ILayerPtr&) override { return false; }
    bool appendChildLayer(const ILayerPtr&) override { return false; }
    bool removeChildLayer(const ILayerPtr&) override { return false; }
    [[nodiscard]] QList<ILayerPtr> children(int32_t) const override { return {}; }
    [[nodiscard]] QList<ILayerPtr> pathTo(const ILayerPtr& layer) const override;
    [[nodiscard]] QList<ILayerPtr> findParentOf(const ILayerPtr&) const override { return {}; }
    [[nodiscard]] LayerPtr source() const override { return nullptr; }
    // No sample moves. The reported start does not go below 0.
    void moveBy(int64_t samples) override;
    // With data, the bytes of the file are taken as samples of the new format.
    void setFormat(const SamplingFormat& format) override;
    // The samples in another format, the start and the length by the ratio of the rates: remixed by
    // `matrix` (one row for each channel of the old format; all zeros or empty: the default remix of the
    // two formats) and converted in rate by a Resampler. Where needsResampling() says no, only the
    // format is stored. What could be undone can not be undone any more, and the records are dropped.
    //
    // False, and nothing has changed: there is no room (takeStorageError() tells it), `progress`
    // answered false, the Resampler refuses format or ratio, or something was written here meanwhile.
    // `progress` is called with (0, 1) again and again, and with (1, 1) before the new samples take
    // the place of the old ones; it may run the event loop, as no lock is held then. Readers go on with
    // the old samples until documentLock() is taken for the exchange.
    bool changeFormat(const SamplingFormat& format, const Matrix& matrix, const Progress& progress) override;
    // The samples drawn out to llround(length * ratio) from the same start, by a plain conversion of the
    // rate. Can be undone. Does nothing for a ratio of 1 and for one that the Resampler refuses; without
    // room nothing has changed.
    void stretch(double ratio) override;
    void extendTo(Range range) override;
    // Refused, with a storage error, when the samples would end beyond farthestEnd.
    void insertTime(Range range) override;
    void deleteTime(Range range) override;
    void cropTo(Range range) override;
    // Copies the samples that `source` has in `range`, as it reads on the timeline, over those here;
    // nothing when channels or sample type differ.
    void copyFromLayer(const ILayerPtr& source, Range range, bool withProperties) override;
    void assignFromLayer(const ILayerPtr& source, bool withProperties) override;
    // Null when there is no room for the file; the storage error of this layer is then set. Records are not
    // copied.
    LayerPtr copy(Range& range, bool withBackup) const override;
    [[nodiscard]] LayerPtr clone(bool withBackup) const override;
    void replaceByLayer(const ILayerPtr& source, float gain, bool overwrite) override;
    void applyRecord(const LayerRecord& record, int32_t direction) override;
    void newBackup() override;

protected:
    void stampProperties();
    void stampContent();
    void setStorageError() const;
    // Takes name and mixing properties, offset and scales over.
    void copyProperties(const ILayer& source);
    // A raw span as the timeline shows it.
    [[nodiscard]] Range reported(const Range& raw) const;
    // A position of the timeline, `pivot` being the raw start.
    [[nodiscard]] int64_t toRaw(int64_t position, int64_t pivot) const;
    void renewBackup(); // with m_edit held exclusively
    // Finds `record` among the applied ones and removes it and all equal ones (undo), or appends it.
    void noteApplied(const LayerRecord& record, int32_t direction);
    // An empty layer of the same kind for the next before-image.
    [[nodiscard]] virtual LayerPtr makeBackup() const;

    friend class FormatChange;
    // A change of format in two halves, so that several layers change or none does.
    struct Conversion
    {
        std::unique_ptr<SampleStore> samples; // null: those that are there do
        int64_t contentTime = 0;              // of the samples that were converted
        QList<LayerRecord> records;           // of the old samples
    };
    // Computes what is to come and changes nothing. False as in changeFormat().
    [[nodiscard]] virtual bool prepareFormat(const SamplingFormat& format, const Matrix& matrix,
                                             const std::function<bool()>& goOn, Conversion& result) const;
    // Puts it into effect. The old samples and records are in `conversion` afterwards, so that their
    // files die when the caller no longer holds a lock.
    virtual void adoptFormat(const SamplingFormat& format, Conversion& conversion);

    friend class TimeChange;
    // What a change of the time line does here. In two halves too.
    struct TimePlan
    {
        Range before;                             // the data that it was made for
        Range after;                              // the data as it will be
        Range touched;                            // what is other than before; empty: nothing
        std::vector<SampleStore::Stretch> pieces; // for a file of its own; none: the samples are shifted
        std::unique_ptr<SampleStore> samples;     // the new ones, then the old ones
        LayerPtr image;                           // for redo: what the record of the change will need
        bool stampsAlways = false;                // also when nothing changes
        bool isTooFar = false;                    // refused: it would end beyond farthestEnd
        int64_t contentTime = 0;                  // of the samples that it was made for
        [[nodiscard]] bool isChange() const { return !touched.isEmpty(); }
    };
    [[nodiscard]] TimePlan planTimeChange(TimeChangeKind kind, const Range& range) const;
    // The storage error of a plan that is too far.
    void setTooFar() const;
    // Bytes of samples that have to be moved.
    [[nodiscard]] int64_t workOf(const TimePlan& plan) const;
    // Keeps old samples for undo, makes the new ones and their image for the record, and changes nothing, so
    // that all the room is there before anything changes. False: no room (the storage
    // error is set), or goOn() said no. No lock is held while it is asked.
    [[nodiscard]] bool prepareTimeChange(TimePlan& plan, const SampleStore::Work& goOn);
    // Puts it into effect. The samples must be those that it was made for.
    void adoptTimeChange(TimePlan& plan);
    // Gives up what was kept for a change that did not come.
    void dropUnusedBackup();

    mutable ReadWriteLock m_edit; // shared by write(), exclusive for whatever changes span or undo state
    LayerPtr m_backup;            // guarded by m_edit
    Range m_backupRange;          // guarded by m_edit
    QList<LayerRecord> m_records; // GUI thread only

private:
    // Copies the old samples of `range` into the backup, as far as they are not there yet. With m_edit
    // held, shared or exclusively.
    [[nodiscard]] bool keepOldSamples(const Range& range);
    // The same for what is about to change.
    [[nodiscard]] bool keepForUndo(const Range& range);
    [[nodiscard]] bool growBackup(const Range& blocks);
    [[nodiscard]] bool guardForStep(const LayerRecord& record, int32_t direction) const;
    [[nodiscard]] bool growTo(const Range& range); // with m_edit held exclusively
    [[nodiscard]] bool makeRoom(const Range& range);
    void markChanged(const Range& range);
    void mixIn(const ILayerPtr& source, const Range& range, float gain, bool overwrite);
    void planInsertion(TimePlan& plan, const Range& range) const;
    void planRemoval(TimePlan& plan, const Range& range) const;
    void planCrop(TimePlan& plan, const Range& range) const;
    [[nodiscard]] bool keepInParts(const Range& range, const SampleStore::Work& goOn); // without m_edit
    [[nodiscard]] bool rearrange(TimePlan& plan, const SampleStore::Work& goOn) const;
    // What of the new samples a record has to hold; empty without a backup.
    [[nodiscard]] Range imageRange(const TimePlan& plan) const;
    [[nodiscard]] bool keepImage(TimePlan& plan, const SampleStore::Work& goOn) const;
    // The image of all changes since the last record; null without room.
    [[nodiscard]] LayerPtr imageOfChanges();
    void exchangeSamples(TimePlan& plan); // with m_edit held exclusively
    void changeTime(TimeChangeKind kind, const Range& range);
    [[nodiscard]] bool setSpan(const Range& target); // setRange with m_edit held exclusively
    // All samples through `resampler`, in a store of `format` from `start` on; null without room (the
    // storage error is set), or when goOn() or the resampler says no. Without m_edit.
    [[nodiscard]] std::unique_ptr<SampleStore> converted(Resampler& resampler, const SamplingFormat& format,
                                                         int64_t start,
                                                         const std::function<bool()>& goOn) const;

    LayerPtr m_image; // of the changes since the last record, made by a change of time; GUI thread only
    int64_t m_imageTime = 0; // contentTime() that m_image was made for
    SampleStore m_store;     // has its own locks; its structure changes only with m_edit held exclusively
    std::atomic<bool> m_enabled;
    std::atomic<bool> m_solo;
    std::atomic<int32_t> m_polarity;
    std::atomic<float> m_multiplier;
    std::atomic<uint32_t> m_color;
    std::atomic<double> m_timeOffset = 0.0; // sample points
    std::atomic<float> m_timeScale = 1.0f;
    std::atomic<float> m_gainScale = 1.0f;
    std::atomic<int64_t> m_propertiesTime;
    std::atomic<int64_t> m_contentTime;

    mutable Mutex m_changedMutex;
    Range m_changedRange; // guarded by m_changedMutex

    mutable Mutex m_small; // guards the following
    QString m_name;
    ILayerPtr m_attached;
    std::weak_ptr<ILayer> m_parent;
    mutable bool m_storageFailed = false;
    mutable QString m_storageWords;
};
