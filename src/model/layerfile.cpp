// Layers on files that exist already.
#include "base/sessionfile.h"
#include "model/layer.h"

#include <algorithm>

#include <QDebug>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr qint64 copyChunk = 1 << 20; // bytes

std::unique_ptr<SessionFile> copyOf(const QString& path, QString* cause)
{
    QFile source(path);
    const bool regular = QFileInfo(path).isFile(); // opening a FIFO would wait for a writer
    if (!regular || !source.open(QIODevice::ReadOnly)) {
        *cause = regular ? source.errorString() : QStringLiteral("not a regular file");
        return nullptr;
    }
    const qint64 size = source.size();
    std::unique_ptr<SessionFile> target = SessionFile::create(SampleStore::sessionFolder(), size);
    if (!target) {
        *cause = SessionFile::lastError();
        return nullptr;
    }
    for (qint64 done = 0; done < size;) {
        const qint64 count = source.read(target->data() + done, std::min(copyChunk, size - done));
        if (count < 1) {
            *cause = source.errorString();
            return nullptr;
        }
        done += count;
    }
    return target;
}

} // namespace

LayerPtr Layer::fromFile(const SamplingFormat& format, const LayerHeader& header, int64_t start,
                         const QString& path, bool copyFile, bool withBackup)
{
    QString cause;
    LayerPtr layer;
    if (path.isEmpty() || copyFile) {
        layer = create(format, header, start, false);
        std::unique_ptr<SessionFile> file = path.isEmpty() ? nullptr : copyOf(path, &cause);
        if (file && !layer->m_store.adopt(file))
            cause = SessionFile::lastError();
        if (withBackup)
            layer->startBackup();
    } else {
        layer = adoptFile(format, header, start, path, withBackup, &cause);
        if (!layer)
            layer = create(format, header, start, withBackup);
    }
    if (!cause.isEmpty())
        qWarning().noquote() << "Sample file" << path << "cannot be used:" << cause;
    return layer;
}

LayerPtr Layer::adoptFile(const SamplingFormat& format, const LayerHeader& header, int64_t start,
                          const QString& path, bool withBackup, QString* words)
{
    const LayerPtr layer = create(format, header, start, false);
    bool refused = false;
    std::unique_ptr<SessionFile> file = SessionFile::adopt(SampleStore::sessionFolder(), path, &refused);
    if (!file || !layer->m_store.adopt(file)) {
        *words = SessionFile::lastError();
        if (file)
            file->keep(); // still as it was
        if (!refused)
            return nullptr;
    }
    if (withBackup)
        layer->startBackup();
    return layer;
}
