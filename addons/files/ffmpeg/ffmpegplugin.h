// Audio files by way of FFmpeg's libraries.
#pragma once

#include "plugins/ifileplugin.h"

#include <QObject>

class FfmpegPlugin final : public QObject, public IFilePlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Application.IFilePlugin.ffmpeg")
    Q_INTERFACES(IFilePlugin)

public:
    bool init(const QString& libraryPath, QWidget* mainWindow) override;
    [[nodiscard]] QString description() const override;
    [[nodiscard]] QStringList importFilters() const override;
    // "Microsoft WAV (*.wav)" holds 32-bit floats, so that what was read is written back bit by bit.
    // Formats whose encoder this machine lacks are left out.
    [[nodiscard]] QStringList exportFilters() const override;
    bool importFile(const QString& path, IImportSink& sink) override;
    bool exportFile(const QString& path, const QString& filter, IExportSource& source) override;
};
