#include "base/safefile.h"

#include "base/platform.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("SafeFile", text);
}

} // namespace

QString SafeFile::followLinks(QString path)
{
    constexpr int longestChain = 40; // as the kernel's own
    for (int i = 0; i < longestChain; ++i) {
        const QFileInfo info(path);
        if (!info.isSymLink())
            return info.absoluteFilePath();
        path = info.symLinkTarget(); // absolute: Qt resolves it against the link's folder
    }
    return {};
}

SafeFile::SafeFile(const QString& path) : m_path(path) {}

SafeFile::~SafeFile() = default;

bool SafeFile::fail(const QString& cause)
{
    if (m_error.isEmpty())
        m_error = QDir::toNativeSeparators(m_path) + QLatin1String(": ") + cause;
    return false;
}

bool SafeFile::open()
{
    m_error.clear();
    const QString target = followLinks(m_path);
    if (target.isEmpty())
        return fail(tr("the link leads in a circle"));
    m_path = target;
    const QFileInfo info(target);
    if (info.exists() && !info.isFile())
        return fail(tr("this is not a regular file"));
    m_file = std::make_unique<QSaveFile>(target);
    if (!m_file->open(QIODevice::WriteOnly))
        return fail(m_file->errorString());
    return true;
}

bool SafeFile::write(const char* data, int64_t bytes)
{
    if (!m_file || !m_error.isEmpty())
        return false;
    if (m_file->write(data, bytes) != bytes)
        return fail(m_file->errorString());
    return true;
}

bool SafeFile::commit()
{
    if (!m_file)
        return false;
    // QSaveFile ignores a sync that fails, so it is done here before its own.
    bool good = m_error.isEmpty();
    if (good && (!m_file->flush() || m_file->error() != QFileDevice::NoError))
        good = fail(m_file->errorString());
    if (good && !platform::syncFile(m_file->handle()))
        good = fail(platform::lastSystemError());
    if (!good)
        m_file->cancelWriting();
    m_replaced = m_file->commit();
    if (!m_replaced && good)
        good = fail(m_file->errorString());
    if (good && !platform::syncFolder(QFileInfo(m_path).path()))
        good = fail(platform::lastSystemError());
    m_file.reset();
    return good;
}
