// The contract with file plug-ins: how a format reaches the program and leaves it.
#pragma once

#include "model/types/marker.h"
#include "model/types/samplingformat.h"
#include "plugins/hosttable.h"

#include <cstdint>

#include <QString>
#include <QStringList>
#include <QtPlugin>

class QWidget;

// What a plug-in tells of a file before the first sample.
struct ImportInfo
{
    SamplingFormat format;       // as the file says it; the host judges it
    int64_t expectedFrames = -1; // sample points the header announces; -1 when unknown. Only a hint
    int32_t bits = 0;            // of one stored sample; 0 where that means nothing
    bool isFloat = false;
};

// Where an import goes. Implemented by the host; a plug-in never makes or names a file of the
// session. All calls come on the thread that called importFile() and while it runs; decoding may
// have threads of its own behind it. A false answer means: stop and return false (refused, disk
// full, cancelled); the host has told the user, or will.
class IImportSink
{
public:
    virtual ~IImportSink() = default;
    // Once, before the first samples, also for a file with no samples or with a format that makes
    // no sense: the host has words for both.
    virtual bool begin(const ImportInfo& info) = 0;
    // The next `frames` sample points, all channels interleaved, full scale 1.0, complex ones as
    // (re, im) pairs.
    virtual bool samples(const float* interleaved, int64_t frames) = 0;
    virtual void markers(const MarkerList& markers) = 0;
    virtual void spectralMarkers(const SpectralMarkerList& markers) = 0;
    virtual void metaData(const MetaDataList& tags) = 0;
    // In any unit; total < 1 when unknown. May run the event loop. False: the user cancelled.
    virtual bool progress(int64_t done, int64_t total) = 0;
    // Words for a failure or for damage that was passed over, shown to the user when the import
    // has ended. A damaged file whose readable part was delivered is a success with a message.
    virtual void message(const QString& text) = 0;
};

// Where an export comes from: the mirror image, implemented by the host, on the calling thread.
class IExportSource
{
public:
    virtual ~IExportSource() = default;
    [[nodiscard]] virtual SamplingFormat format() const = 0;
    [[nodiscard]] virtual int64_t frames() const = 0; // sample points in all
    // Sample points [start, start + count) of the mix, interleaved. False: reading failed.
    virtual bool samples(float* interleaved, int64_t start, int64_t count) = 0;
    [[nodiscard]] virtual MarkerList markers() const = 0;
    [[nodiscard]] virtual MetaDataList metaData() const = 0;
    // As in IImportSink.
    virtual bool progress(int64_t done, int64_t total) = 0;
    virtual void message(const QString& text) = 0;
};

// A plug-in's life: its library is loaded, the host fills `host`, then calls init() once. After
// true everything below may be called any number of times, in any order, until the process ends;
// after false nothing is. All calls come from the GUI thread. Nothing may throw; the host catches
// it, reports the plug-in by name and treats the call as failed.
//
// The order of the virtual functions is part of the contract.
class IFilePlugin
{
public:
    HostTable host;

    virtual bool init(const QString& libraryPath, QWidget* mainWindow) = 0;
    // One line for the list of plug-ins.
    [[nodiscard]] virtual QString description() const = 0;
    // "Microsoft WAV (*.wav)", one string for each format; the suffixes decide which plug-in gets a
    // file. Suffixes are compared without case.
    [[nodiscard]] virtual QStringList importFilters() const = 0;
    [[nodiscard]] virtual QStringList exportFilters() const = 0;
    // Reads `path` (a regular file) into `sink`, in blocks, from the start to the end. False when
    // the file cannot be read or the sink refused. Without a call of begin() the file counts as of
    // an unsupported format.
    virtual bool importFile(const QString& path, IImportSink& sink) = 0;
    // Writes `source` to `path` (a file that the host made and will move into place), as `filter`,
    // one of exportFilters(). False on failure or cancel; the host removes the file then.
    virtual bool exportFile(const QString& path, const QString& filter, IExportSource& source) = 0;
    virtual ~IFilePlugin() = default;
};

#define IFilePlugin_iid "com.Application.IFilePlugin"
Q_DECLARE_INTERFACE(IFilePlugin, IFilePlugin_iid)
