#include "projectfiles/layerfactory.h"

#include "base/platform.h"
#include "base/sessionfile.h"

#include <algorithm>
#include <vector>

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

constexpr int64_t piece = 1000000; // bytes

QString tr(const char* text)
{
    return QCoreApplication::translate("ProjectReader", text);
}

// The names that SessionFile gives.
bool isSessionName(const QString& name)
{
    static const QRegularExpression pattern(QStringLiteral("\\Alayer\\([0-9a-f]{2,8}\\)\\.pcm\\z"));
    return pattern.match(name).hasMatch();
}

bool liesBelow(const QString& canonicalPath, const QString& folder)
{
    const QString root = QFileInfo(folder).canonicalFilePath();
    return !root.isEmpty() &&
           canonicalPath.startsWith(root.endsWith(QLatin1Char('/')) ? root : root + QLatin1Char('/'));
}

// The next bytes of `device` into the layer; false when the read must end.
bool fill(Layer& layer, QIODevice& device, int64_t bytes, const LayerFactory::Step& step, QString& words)
{
    const int64_t frameBytes = layer.format().frameBytes();
    const int64_t frames = bytes / frameBytes;
    const auto noRoom = [&] {
        layer.takeStorageError(&words);
        return false;
    };
    if (frames < 1)
        return true;
    if (!layer.reserve(frames))
        return noRoom();
    const int64_t most = std::max<int64_t>(1, piece / frameBytes);
    std::vector<float> buffer(std::size_t(std::min(frames, most) * frameBytes / 4));
    for (int64_t done = 0; done < frames;) {
        const int64_t wanted = std::min(most, frames - done) * frameBytes;
        const int64_t got = device.read(reinterpret_cast<char*>(buffer.data()), wanted);
        const int64_t whole = std::max<int64_t>(0, got) / frameBytes;
        if (whole > 0 && !layer.append(buffer.data(), whole))
            return noRoom();
        done += whole;
        if (got < wanted) {
            words = tr("%1 of %2 samples are missing: %3")
                        .arg(QString::number(frames - done), QString::number(frames), device.errorString());
            break;
        }
        if (!step(got))
            return false;
    }
    return layer.finishAppend() || noRoom();
}

} // namespace

LayerFactory::Made SessionLayers::fromStream(const Wanted& wanted, QIODevice& device, int64_t bytes,
                                             const Step& step)
{
    Made made;
    made.layer = Layer::create(wanted.format, wanted.header, wanted.start, false);
    if (fill(*made.layer, device, bytes, step, made.words))
        made.layer->startBackup();
    else
        made.layer.reset();
    return made;
}

LayerFactory::Made SessionLayers::fromPath(const Wanted& wanted, const QString& path, const Step& step)
{
    if (path.isEmpty())
        return {Layer::create(wanted.format, wanted.header, wanted.start, true), {}};
    const QString full = QDir(m_folder).absoluteFilePath(path);
    const bool isAdopted = m_samples == SampleFiles::Reference && isSessionName(QFileInfo(full).fileName());
    const QString root = m_samples == SampleFiles::Reference ? SampleStore::sessionFolder() : m_folder;
    const bool isStretch = isAdopted && wanted.first;
    Made made = isStretch   ? stretch(wanted, full, step)
                : isAdopted ? adopted(wanted, full)
                            : copied(wanted, full, root, step);
    if (made.layer && !made.words.isEmpty()) {
        if (!made.words.contains(full)) // the words of a refused adoption have it
            made.words = QDir::toNativeSeparators(full) + QLatin1String(": ") + made.words;
        qWarning().noquote() << "sample file cannot be used:" << made.words;
    }
    return made;
}

LayerFactory::Made SessionLayers::adopted(const Wanted& wanted, const QString& path)
{
    Made made;
    made.told = QFileInfo::exists(path) || QFileInfo(path).isSymLink();
    QString words;
    made.layer = Layer::adoptFile(wanted.format, wanted.header, wanted.start, path, false, &words);
    if (!made.layer) { // another start may have room for it
        made.words = words;
        return made;
    }
    if (words.isEmpty()) {
        m_adopted << made.layer;
        const int64_t held = made.layer->dataRange().length;
        const int64_t length = std::max<int64_t>(0, wanted.length.value_or(held));
        if (length < held)
            made.layer->setRange({wanted.start, length});
        else if (length > held)
            made.words = tr("%1 of %2 samples are missing: %3")
                             .arg(QString::number(length - held), QString::number(length), tr("end of file"));
    } else {
        made.words = made.told ? words : tr("the file is missing");
    }
    made.layer->startBackup();
    return made;
}

// Of a file that another layer may have, or get: read, and zeros where the stretch lies outside.
LayerFactory::Made SessionLayers::stretch(const Wanted& wanted, const QString& path, const Step& step)
{
    const Range asked{*wanted.first, std::max<int64_t>(0, wanted.length.value_or(0))};
    const LayerPtr layer = Layer::create(wanted.format, wanted.header, wanted.start, false);
    const auto made = [&](const QString& words, bool told) {
        layer->startBackup();
        return Made{layer, words, told};
    };
    QFile file;
    const int descriptor = platform::openRegular(path);
    if (descriptor < 0 || !file.open(descriptor, QFile::ReadOnly | QFile::Unbuffered, QFile::AutoCloseHandle))
        return made(tr("the file is missing"), QFileInfo::exists(path));
    if (QFileInfo(path).canonicalPath() != QFileInfo(SampleStore::sessionFolder()).canonicalFilePath())
        return made(tr("the file does not lie in the session folder"), true);
    const int64_t frameBytes = wanted.format.frameBytes();
    const Range there = asked.intersected({0, file.size() / frameBytes});
    if (asked.isEmpty())
        return made({}, true);
    Made failed;
    layer->setRange({wanted.start, asked.length}); // zeros, and no more than there is room for
    if (layer->takeStorageError(&failed.words))
        return failed;
    if (there.isEmpty())
        return made({}, true);
    const int64_t most = std::max<int64_t>(1, piece / frameBytes);
    std::vector<float> buffer(std::size_t(std::min(there.length, most) * frameBytes / 4));
    if (!file.seek(there.start * frameBytes))
        return made(file.errorString(), true);
    for (int64_t done = 0; done < there.length; done += most) {
        const int64_t frames = std::min(most, there.length - done);
        if (file.read(reinterpret_cast<char*>(buffer.data()), frames * frameBytes) != frames * frameBytes)
            return made(file.errorString(), true);
        layer->write(buffer.data(), {wanted.start + there.start - asked.start + done, frames}, -1, true);
        if (!step(frames * frameBytes))
            return {};
    }
    return made({}, true);
}

LayerFactory::Made SessionLayers::copied(const Wanted& wanted, const QString& path, const QString& root,
                                         const Step& step)
{
    const auto without = [&](const QString& words, bool told) {
        return Made{Layer::create(wanted.format, wanted.header, wanted.start, true), words, told};
    };
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink())
        return without(tr("the file is missing"), false);
    if (!liesBelow(info.canonicalFilePath(), root))
        return without(tr("the file does not lie with the project"), true);
    if (!info.isFile()) // opening a FIFO would wait for a writer
        return without(tr("this is not a regular file"), true);
    QFile file(info.canonicalFilePath());
    if (!file.open(QFile::ReadOnly | QFile::Unbuffered))
        return without(file.errorString(), true);
    return fromStream(wanted, file, file.size(), step);
}

void SessionLayers::abandon()
{
    for (const LayerPtr& layer : m_adopted)
        layer->keepFile();
}
