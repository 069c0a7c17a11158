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
    SamplingFormat format;
    int64_t expectedFrames = -1; // sample points the header announces; -1 when unknown. Only a hint
    int32_t bits = 0;            // of one stored sample
    bool isFloat = false;
};

// Where an import goes. Implemented by the host; a plug-in never makes or names a file of the
// session. A false answer means: stop and return false (refused, disk full, cancelled).
class IImportSink
{
public:
    virtual ~IImportSink() = default;
    // Once, before the first samples.
    virtual bool begin(const ImportInfo& info) = 0;
    // The next `frames` sample points, all channels interleaved, full scale 1.0, complex ones as
    // (re, im) pairs.
    virtual bool samples(const float* interleaved, int64_t frames) = 0;
    virtual void markers(const MarkerList& markers) = 0;
    virtual void spectralMarkers(const SpectralMarkerList& markers) = 0;
    virtual void metaData(const MetaDataList& tags) = 0;
    // In any unit; total < 1 when unknown. False: the user cancelled.
    virtual bool progress(int64_t done, int64_t total) = 0;
    // Words for a failure or for damage that was passed over, shown to the user.
    virtual void message(const QString& text) = 0;
};

// Where an export comes from: the mirror image, implemented by the host.
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
    virtual bool progress(int64_t done, int64_t total) = 0;
    virtual void message(const QString& text) = 0;
};

// All calls come from the GUI thread. The host fills `host` before it calls anything.
class IFilePlugin
{
public:
    HostTable host;

    virtual bool init(const QString& libraryPath, QWidget* mainWindow) = 0;
    [[nodiscard]] virtual QString description() const = 0;
    // "Microsoft WAV (*.wav)", one string for each format.
    [[nodiscard]] virtual QStringList importFilters() const = 0;
    [[nodiscard]] virtual QStringList exportFilters() const = 0;
    // Reads `path` into `sink`, in blocks, from the start to the end. False when the file cannot be
    // read or the sink refused.
    virtual bool importFile(const QString& path, IImportSink& sink) = 0;
    // Writes `source` to `path` (a file that the host made and will move into place), as `filter`,
    // one of exportFilters(). False on failure or cancel.
    virtual bool exportFile(const QString& path, const QString& filter, IExportSource& source) = 0;
    virtual ~IFilePlugin() = default;
};

#define IFilePlugin_iid "com.Application.IFilePlugin"
Q_DECLARE_INTERFACE(IFilePlugin, IFilePlugin_iid)
