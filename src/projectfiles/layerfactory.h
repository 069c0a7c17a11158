// Where the readers of projects get their layers from.
#pragma once

#include "projectfiles/projectio.h"

#include <functional>
#include <optional>

#include <QList>

class QIODevice;

// The readers tell what a layer is and where its samples lie; a factory makes it. So the readers run
// without a disk too.
class LayerFactory
{
public:
    // Told how many bytes were moved; false cancels.
    using Step = std::function<bool(int64_t bytes)>;
    struct Made
    {
        LayerPtr layer;   // null when the read must end: cancelled, or no room
        QString words;    // the cause when samples could not be had
        bool told = true; // false: the samples are just not there, which the user is not told
    };
    struct Wanted
    {
        SamplingFormat format; // one that sanitizeFormat() passed
        LayerHeader header;
        int64_t start = 0;
        // Only for fromPath(), and only in a session's manifest: the sample points of the file that count,
        // and the first of them. With `first` the file may be that of another layer, too, and is copied.
        std::optional<int64_t> length;
        std::optional<int64_t> first;
    };

    virtual ~LayerFactory() = default;
    // The samples are the next `bytes` bytes of `device`; a rest of less than a sample point of all
    // channels is left out. Fewer than that is a layer with what there is.
    [[nodiscard]] virtual Made fromStream(const Wanted& wanted, QIODevice& device, int64_t bytes,
                                          const Step& step) = 0;
    // The samples lie in the file that the manifest names `path`. Without a usable file the layer is
    // empty. An empty path is an empty layer and no fault.
    [[nodiscard]] virtual Made fromPath(const Wanted& wanted, const QString& path, const Step& step) = 0;
    // The project is given up: files that were there before stay when its layers die.
    virtual void abandon() {}
};

// Layers on files in the session folder, with a backup.
//
// Copy: a file counts only when it is a regular file at or below the manifest's folder, links followed;
// so a project that somebody sends does not bring in what lies elsewhere.
// Reference: the file must lie directly in the session folder and be ours (see SessionFile::adopt).
// Files there whose names this program does not make are copied instead, since an adopted one is
// written to and deleted. What such a file has grown since its manifest was written is cut off.
class SessionLayers final : public LayerFactory
{
public:
    explicit SessionLayers(QString manifestFolder = {}, SampleFiles samples = SampleFiles::Copy)
        : m_folder(std::move(manifestFolder)),
          m_samples(samples)
    {
    }

    [[nodiscard]] Made fromStream(const Wanted& wanted, QIODevice& device, int64_t bytes,
                                  const Step& step) override;
    [[nodiscard]] Made fromPath(const Wanted& wanted, const QString& path, const Step& step) override;
    void abandon() override;

private:
    [[nodiscard]] Made adopted(const Wanted& wanted, const QString& path);
    [[nodiscard]] Made stretch(const Wanted& wanted, const QString& path, const Step& step);
    [[nodiscard]] Made copied(const Wanted& wanted, const QString& path, const QString& root,
                              const Step& step);

    QString m_folder;
    SampleFiles m_samples;
    QList<LayerPtr> m_adopted;
};
