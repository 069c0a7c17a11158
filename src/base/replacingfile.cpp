#include "base/replacingfile.h"

#include "base/platform.h"
#include "base/safefile.h"

#include <cstdio>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("SafeFile", text);
}

} // namespace

ReplacingFile::ReplacingFile(const QString& path) : m_path(path) {}

ReplacingFile::~ReplacingFile()
{
    if (m_file)
        m_file->remove();
}

bool ReplacingFile::fail(const QString& cause)
{
    if (m_error.isEmpty())
        m_error = cause;
    return false;
}

bool ReplacingFile::open()
{
    m_error.clear();
    const QString target = SafeFile::followLinks(m_path);
    if (target.isEmpty())
        return fail(tr("the link leads in a circle"));
    m_path = target;
    const QFileInfo info(target);
    if (info.exists() && !info.isFile())
        return fail(tr("this is not a regular file"));
    if (info.exists() && !info.isWritable())
        return fail(tr("the file is write-protected"));
    const QString name =
        QStringLiteral("/.export.%1").arg(QRandomGenerator::global()->generate64(), 16, 16, QLatin1Char('0'));
    m_file = std::make_unique<QFile>(info.path() + name);
    if (m_file->open(QFile::WriteOnly | QFile::NewOnly))
        return true;
    fail(m_file->errorString());
    m_file.reset();
    return false;
}

QString ReplacingFile::temporaryPath() const
{
    return m_file ? m_file->fileName() : QString();
}

bool ReplacingFile::commit()
{
    if (!m_file || !m_error.isEmpty())
        return false;
    const QFileInfo old(m_path);
    // The file as it stands under its name now, whoever made it.
    QFile written(m_file->fileName());
    if (!written.open(QFile::ReadOnly))
        return fail(written.errorString());
    if (old.exists() && !written.setPermissions(old.permissions()))
        return fail(written.errorString());
    if (!platform::syncFile(written.handle()))
        return fail(platform::lastSystemError());
    if (std::rename(QFile::encodeName(m_file->fileName()).constData(),
                    QFile::encodeName(m_path).constData()) != 0)
        return fail(platform::lastSystemError());
    m_file.reset(); // nothing to remove any more
    return platform::syncFolder(QFileInfo(m_path).path()) || fail(platform::lastSystemError());
}
