// The contract with audio devices: who plays and records.
#pragma once

#include "model/ilayer.h"
#include "model/types/channelsmode.h"
#include "model/types/range.h"
#include "model/types/samplingformat.h"
#include "plugins/hosttable.h"

#include <cstdint>

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QtPlugin>

class QWidget;

// What one audio API offers.
struct Devices
{
    QStringList inputs;
    QStringList outputs;
    QString defaultInput;
    QString defaultOutput;
};

// The concrete class declares Q_OBJECT, Q_INTERFACES(IDevicePlugin) and, by these names, since the
// host connects and invokes them by name:
//   slots    open(QString api, QString input, QString output, SamplingFormat format)
//            start(int64_t* time, ILayerPtr* input, ILayerPtr* output, Range* loop, float* volume,
//                  bool* includePreview, ChannelsMode* channelsMode)
//            stop(), close(): finished when they return
//            getDevices(QString api, Devices* devices)
//   signals  timeUpdated(), errorOccured(int error, QString message); error 1: the stream died
// The pointers handed to start() stay good until stop() has returned. `*time` and `*volume` are
// touched through std::atomic_ref on both sides. Life and exceptions as in IFilePlugin; the plug-in
// may live on a thread of its own. The order of the virtual functions is part of the contract.
class IDevicePlugin : public QObject
{
public:
    HostTable host;

    // A stream is open.
    [[nodiscard]] virtual bool isOpen() const = 0;
    virtual bool init(const QString& libraryPath, QWidget* mainWindow) = 0;
    [[nodiscard]] virtual QString description() const = 0;
    // Names of the audio APIs that this plug-in serves, the preferred one first.
    [[nodiscard]] virtual QStringList audioApis() const = 0;
};

#define IDevicePlugin_iid "com.Application.IDevicePlugin"
Q_DECLARE_INTERFACE(IDevicePlugin, IDevicePlugin_iid)
Q_DECLARE_METATYPE(Devices*)
