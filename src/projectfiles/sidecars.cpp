#include "projectfiles/sidecars.h"

#include "base/platform.h"

#include <cstdio>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

namespace {

constexpr int suffixLength = 4; // ".mvx"

QString tr(const char* text)
{
    return QCoreApplication::translate("Sidecars", text);
}

// The number in a name that fileName() gives; -1 for any other.
int fileNumber(const QString& name)
{
    static const QRegularExpression pattern(QStringLiteral("\\Alayer(0|[1-9][0-9]{0,8})\\.pcm\\z"));
    const QRegularExpressionMatch match = pattern.match(name);
    return match.hasMatch() ? match.captured(1).toInt() : -1;
}

QStringList entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

QString firstFolderPrefix(const QString& base)
{
    return base + QLatin1String(".sidecars-");
}

} // namespace

Sidecars::Sidecars(const QString& path)
    : m_parent(QFileInfo(path).absolutePath()),
      m_base(QFileInfo(path).fileName())
{
    m_base.chop(suffixLength);
}

Sidecars::~Sidecars()
{
    if (!m_firstFolder.isEmpty() && !m_kept)
        removeFolder(m_parent + QLatin1Char('/') + m_firstFolder);
}

QString Sidecars::fileName(int index) const
{
    return QLatin1String("layer") + QString::number(index) + QLatin1String(".pcm");
}

QStringList Sidecars::paths(const QString& folder) const
{
    QStringList list;
    int index = 0;
    for (const bool hasFile : m_hasFile)
        list << (hasFile ? folder + QLatin1Char('/') + fileName(index++) : QString());
    return list;
}

bool Sidecars::fail(const QString& path, const QString& cause)
{
    m_error = QDir::toNativeSeparators(path) + QLatin1String(": ") + cause;
    return false;
}

bool Sidecars::check()
{
    const QString folder = m_parent + QLatin1Char('/') + m_base;
    if (m_base.isEmpty() || m_base == QLatin1String(".") || m_base == QLatin1String(".."))
        return fail(m_parent, tr("the samples would have no folder of their own; choose another name"));
    const QFileInfo info(folder);
    if ((info.exists() || info.isSymLink()) && !info.isDir())
        return fail(folder, tr("the samples go into a folder of this name, and a file has it"));
    return true;
}

bool Sidecars::writeFile(const QString& path, const SavedLayer& layer, WorkSteps& steps)
{
    QFile file(path);
    if (!file.open(QFile::WriteOnly | QFile::NewOnly | QFile::Unbuffered))
        return fail(path, file.errorString());
    const bool whole = layer.forEachPiece([&](const char* data, int64_t bytes) {
        m_cancelled = !steps.moved(bytes);
        return !m_cancelled && (file.write(data, bytes) == bytes || fail(path, file.errorString()));
    });
    if (!whole)
        return false;
    if (!file.flush() || !platform::syncFile(file.handle()))
        return fail(path, platform::lastSystemError());
    return true;
}

bool Sidecars::write(const QList<SavedLayer>& layers, WorkSteps& steps)
{
    for (const SavedLayer& layer : layers)
        m_hasFile << (layer.bytes() > 0);
    if (!m_hasFile.contains(true))
        return true;
    const QString name =
        firstFolderPrefix(m_base) +
        QStringLiteral("%1").arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
    const QString folder = m_parent + QLatin1Char('/') + name;
    if (!QDir().mkdir(folder))
        return fail(folder, platform::lastSystemError());
    m_firstFolder = name;
    for (const SavedLayer& layer : layers)
        if (layer.bytes() > 0 && !writeFile(folder + QLatin1Char('/') + fileName(m_files++), layer, steps))
            return false;
    if (!platform::syncFolder(folder) || !platform::syncFolder(m_parent))
        return fail(folder, platform::lastSystemError());
    return true;
}

// A second name for the file; what stood under that name is gone at the same moment.
bool Sidecars::moveIn(const QString& from, const QString& to)
{
    const QString step = to + QLatin1String(".new");
    QFile::remove(step);
    if (!platform::linkFile(from, step)) {
        QFile source(from);
        QFile copy(step);
        if (!source.copy(step))
            return fail(step, source.errorString());
        if (!copy.open(QFile::ReadWrite) || !platform::syncFile(copy.handle()))
            return fail(step, platform::lastSystemError());
    }
    if (std::rename(QFile::encodeName(step).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
    fail(to, platform::lastSystemError());
    QFile::remove(step);
    return false;
}

bool Sidecars::settle()
{
    if (m_files == 0)
        return true;
    const QString first = m_parent + QLatin1Char('/') + m_firstFolder + QLatin1Char('/');
    const QString folder = m_parent + QLatin1Char('/') + m_base;
    if (!QFileInfo(folder).isDir() && !QDir().mkdir(folder))
        return fail(folder, platform::lastSystemError());
    for (int i = 0; i < m_files; ++i)
        if (!moveIn(first + fileName(i), folder + QLatin1Char('/') + fileName(i)))
            return false;
    if (!platform::syncFolder(folder) || !platform::syncFolder(m_parent))
        return fail(folder, platform::lastSystemError());
    return true;
}

// Only what this class makes, and nothing below it.
void Sidecars::removeFolder(const QString& path)
{
    if (QFileInfo(path).isSymLink())
        return;
    for (const QString& name : entries(path))
        if (fileNumber(name) >= 0)
            QFile::remove(path + QLatin1Char('/') + name);
    QDir().rmdir(path); // fails where something else lies in it
}

void Sidecars::clean()
{
    const QString prefix = firstFolderPrefix(m_base);
    static const QRegularExpression digits(QStringLiteral("\\A[0-9a-f]{8}\\z"));
    for (const QString& name : entries(m_parent))
        if (name.startsWith(prefix) && digits.match(name.mid(prefix.size())).hasMatch())
            removeFolder(m_parent + QLatin1Char('/') + name);
    const QString folder = m_parent + QLatin1Char('/') + m_base;
    if (!QFileInfo(folder).isSymLink())
        for (const QString& name : entries(folder))
            if (fileNumber(name) >= m_files && QFileInfo(folder + QLatin1Char('/') + name).isFile())
                QFile::remove(folder + QLatin1Char('/') + name);
    m_firstFolder.clear();
}
