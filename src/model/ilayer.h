// The one interface of all sound objects: layers, groups, regions, selection wrappers.
#pragma once

#include "model/types/area.h"
#include "model/types/matrix.h"
#include "model/types/samplingformat.h"

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <utility>

#include <QList>
#include <QString>

class ILayer;
class Layer;
using ILayerPtr = std::shared_ptr<ILayer>;
using LayerPtr = std::shared_ptr<Layer>;

// Progress of a long operation: parts done of a total; false from the callee cancels.
using Progress = std::function<bool(int done, int total)>;

enum LayerType : int32_t { LayerTypeLayer = 0, LayerTypeGroup = 1, LayerTypeRegion = 2 };

// Which children an operation 56 lists: the direct ones; depth first, entering open groups only;
// depth first, entering all groups.
enum ChildrenMode : int32_t { ChildrenDirect = 0, ChildrenOpen = 1, ChildrenAll = 2 };

// The undo record of one layer. Records compare by both pointers and both ranges.
struct LayerRecord
{
    LayerPtr before;   // sparse: holds only what was changed
    LayerPtr after;    // a copy of the changed range
    Range beforeRange; // the layer's raw data span before the action
    Range afterRange;  // and after it

    [[nodiscard]] bool isEmpty() const
    {
        return !before && !after && beforeRange.isEmpty() && afterRange.isEmpty();
    }
    friend bool operator==(const LayerRecord&, const LayerRecord&) = default;
};

// Time is in sample points of format(), on the project's timeline. The order of the operations is
// part of the contract with plug-ins, which compile against it: new ones go to the end.
//
// Threads: reads and writes of samples may come from any thread; each object locks by itself.
// Everything that changes properties, the tree or the span is called from the GUI thread.
class ILayer
{
public:
    [[nodiscard]] virtual int32_t type() const = 0;
    virtual void setName(const std::string& name) = 0;
    [[nodiscard]] virtual bool enabled() const = 0;
    virtual void setEnabled(bool enabled) = 0;
    [[nodiscard]] virtual bool solo() const = 0;
    virtual void setSolo(bool solo) = 0;
    [[nodiscard]] virtual int32_t polarity() const = 0; // 1 or -1
    virtual void setPolarity(int32_t polarity) = 0;
    [[nodiscard]] virtual float multiplier() const = 0; // linear gain in the mix
    virtual void setMultiplier(float multiplier) = 0;
    [[nodiscard]] virtual uint32_t color() const = 0; // RGB; 0xffffffff is unset
    virtual void setColor(uint32_t color) = 0;
    [[nodiscard]] virtual SamplingFormat format() const = 0;
    // Span on the timeline; with `withAttached` the attached overlay counts too.
    [[nodiscard]] virtual Range range(bool withAttached = false) const = 0;
    [[nodiscard]] virtual Area area() const = 0;
    // Stamps of base/clock.h.
    [[nodiscard]] virtual int64_t propertiesTime() const = 0;
    [[nodiscard]] virtual int64_t contentTime() const = 0;
    // Union of the ranges of the `after` layers of all applied records.
    [[nodiscard]] virtual Range recordsRange() const = 0;
    [[nodiscard]] virtual bool isEmpty() const = 0;
    [[nodiscard]] virtual bool isOpen() const = 0;
    [[nodiscard]] virtual bool contains(ILayerPtr layer, bool recursive) const = 0;
    virtual bool insertChild(int32_t index, ILayerPtr layer) = 0;
    virtual bool prependChild(ILayerPtr layer) = 0;
    virtual bool appendChild(ILayerPtr layer) = 0;
    virtual bool moveChild(int32_t from, int32_t to) = 0;
    // A null pointer removes all children.
    virtual bool removeChild(ILayerPtr layer) = 0;
    [[nodiscard]] virtual int64_t sourceOffset() const = 0;
    virtual void setSourceOffset(int64_t offset) = 0;
    // Makes the data span exactly that range, from time 0 on.
    virtual void setRange(Range range) = 0;
    virtual void copyFrom(ILayerPtr source, Range range) = 0;
    virtual void assignFrom(ILayerPtr source) = 0;
    virtual void replaceBy(ILayerPtr source, bool overwrite) = 0;
    virtual void clear() = 0;
    virtual void resetToBackup() = 0;
    // Fills `out` for the asked span: one channel contiguously, or all channels interleaved for
    // channel -1; complex samples are (re, im) pairs. Outside the data `out` is left alone, or zero
    // with `overwrite`; without `overwrite` the samples are added. `gain` multiplies.
    virtual void read(float* out, Range range, int32_t channel, bool overwrite, bool withAttached = false,
                      float gain = 1.0f) const = 0;
    // Stores, or adds without `overwrite`; layout as in read. Negative time is cut off. Grows the
    // data where needed. False when a file cannot grow: then nothing was written.
    virtual bool write(const float* in, Range range, int32_t channel, bool overwrite) = 0;
    [[nodiscard]] virtual std::string nameStd() const = 0;
    [[nodiscard]] virtual std::list<ILayerPtr> childrenStd(int32_t mode) const = 0;
    [[nodiscard]] virtual ILayerPtr sourceShared() const = 0;
    virtual ~ILayer() = default;
    [[nodiscard]] virtual QString filePath() const = 0;
    [[nodiscard]] virtual QString name() const = 0;
    [[nodiscard]] virtual double timeOffset() const = 0;
    // (timeScale, gainScale)
    [[nodiscard]] virtual std::pair<float, float> scale() const = 0;
    [[nodiscard]] virtual ILayerPtr attached() const = 0;
    [[nodiscard]] virtual bool hasBackup() const = 0;
    // `mode` is a ChildrenMode: which descendants of a group follow.
    virtual void resetBackup(int32_t mode) = 0;
    virtual LayerRecord commitRecord() = 0;
    virtual bool setOpen(bool open) = 0;
    [[nodiscard]] virtual bool hasSolo() const = 0;
    [[nodiscard]] virtual bool containsChild(const ILayerPtr& layer, bool recursive) const = 0;
    virtual bool insertChildAt(int32_t index, const ILayerPtr& layer) = 0;
    virtual bool prependChildLayer(const ILayerPtr& layer) = 0;
    virtual bool appendChildLayer(const ILayerPtr& layer) = 0;
    virtual bool removeChildLayer(const ILayerPtr& layer) = 0;
    [[nodiscard]] virtual QList<ILayerPtr> children(int32_t mode) const = 0;
    // The chain from here down to `layer`; empty when it is not here.
    [[nodiscard]] virtual QList<ILayerPtr> pathTo(const ILayerPtr& layer) const = 0;
    [[nodiscard]] virtual QList<ILayerPtr> findParentOf(const ILayerPtr& layer) const = 0;
    [[nodiscard]] virtual LayerPtr source() const = 0;
    virtual void moveBy(int64_t samples) = 0;
    // Stores the format without touching samples.
    virtual void setFormat(const SamplingFormat& format) = 0;
    virtual bool changeFormat(const SamplingFormat& format, const Matrix& matrix,
                              const Progress& progress) = 0;
    virtual void stretch(double ratio) = 0;
    virtual void extendTo(Range range) = 0;
    virtual void insertTime(Range range) = 0;
    virtual void deleteTime(Range range) = 0;
    virtual void cropTo(Range range) = 0;
    virtual void copyFromLayer(const ILayerPtr& source, Range range, bool withProperties) = 0;
    virtual void assignFromLayer(const ILayerPtr& source, bool withProperties) = 0;
    // A new layer with the intersection of `range` and the data; `range` becomes that. Copies and
    // clones are null when there is no room for their samples.
    virtual LayerPtr copy(Range& range, bool withBackup) const = 0;
    virtual LayerPtr clone(bool withBackup) const = 0;
    virtual void replaceByLayer(const ILayerPtr& source, float gain, bool overwrite) = 0;
    virtual void applyRecord(const LayerRecord& record, int32_t direction) = 0; // 0 undo, 1 redo
    virtual void newBackup() = 0;
};
