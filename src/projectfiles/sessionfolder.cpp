#include "projectfiles/sessionfolder.h"

#include "base/platform.h"

#include <cstdio>

#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QVariant>
#include <QXmlStreamReader>

namespace {

constexpr qint64 headBytes = 64 << 10; // the first element stands there, or it is none of ours
constexpr qint64 dayMs = 86400000;
const QLatin1String claimant("recovery"); // in place of a session's id

QString extension()
{
    return QCoreApplication::instance()->property("backupextension").toString();
}

QRegularExpression whole(const QString& pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern));
}

QRegularExpressionMatch matchManifest(const QString& name)
{
    // The extension is that of the running edition.
    const QString pattern =
        QStringLiteral("session_(.+)_project_[0-9a-f]{1,16}\\.%1(?:\\.safe|\\.undo)?(?:\\.new)?");
    return whole(pattern.arg(QRegularExpression::escape(extension()))).match(name);
}

// Whether the first element tells that this program, in this version, wrote the file, and not in a host.
bool isOurs(const QString& path)
{
    QFile file;
    const int descriptor = platform::openRegular(path);
    if (descriptor < 0 || !file.open(descriptor, QFile::ReadOnly, QFile::AutoCloseHandle))
        return false;
    QXmlStreamReader xml(file.read(headBytes));
    while (!xml.atEnd() && !xml.isStartElement())
        if (xml.readNext() == QXmlStreamReader::DTD)
            return false;
    const QString software = QStringLiteral("%1 %2").arg(QCoreApplication::applicationName(),
                                                         QCoreApplication::applicationVersion());
    return xml.isStartElement() && xml.attributes().value(QLatin1String("software")) == software &&
           xml.attributes().value(QLatin1String("embedded")) != QLatin1String("true");
}

} // namespace

SessionFolder::SessionFolder() : m_path(QCoreApplication::instance()->property("sessionpath").toString()) {}

QString SessionFolder::lockPath(const QString& session) const
{
    return m_path + QStringLiteral("/session_%1.lock").arg(session);
}

QString SessionFolder::manifestPath(const QString& session, uint64_t project) const
{
    return m_path + QStringLiteral("/session_%1_project_%2.%3")
                        .arg(session, QString::number(project, 16), extension());
}

SessionFolder::Kind SessionFolder::kindOf(const QString& name)
{
    static const QRegularExpression samples = whole(QStringLiteral("layer\\([0-9a-f]{2,8}\\)\\.pcm"));
    static const QRegularExpression lock = whole(QStringLiteral("session_.+\\.lock"));
    static const QRegularExpression wave = whole(QStringLiteral("[a-zA-Z0-9._ -]* \\([0-9]{1,10}\\)\\.wav"));
    if (samples.match(name).hasMatch())
        return Kind::Samples;
    if (matchManifest(name).hasMatch())
        return Kind::Manifest;
    if (lock.match(name).hasMatch())
        return Kind::Lock;
    return wave.match(name).hasMatch() ? Kind::Wave : Kind::Foreign;
}

QString SessionFolder::sessionOf(const QString& manifestName)
{
    return matchManifest(manifestName).captured(1);
}

QStringList SessionFolder::names() const
{
    // Hidden files and links too; in the order of the last change.
    return m_path.isEmpty() ? QStringList()
                            : QDir(m_path).entryList(QDir::Files | QDir::Hidden | QDir::System,
                                                     QDir::Time | QDir::Reversed);
}

bool SessionFolder::isAlive(const QString& session) const
{
    return FileLock::isHeld(lockPath(session));
}

std::unique_ptr<FileLock> SessionFolder::claim() const
{
    return m_path.isEmpty() ? nullptr : FileLock::take(lockPath(claimant));
}

QStringList SessionFolder::manifestsOfTheDead() const
{
    QStringList found;
    for (const QString& name : names()) {
        const QString path = m_path + QLatin1Char('/') + name;
        // What was being written when the session died is no manifest yet.
        if (kindOf(name) == Kind::Manifest && name.endsWith(extension()) && !isAlive(sessionOf(name)) &&
            isOurs(isSafeOneWanted(path) ? safePath(path) : path))
            found << path;
    }
    return found;
}

// A session that does not say in which life of the machine it ran counts as one of another.
bool SessionFolder::isSafeOneWanted(const QString& manifest) const
{
    const QByteArray boot = FileLock::text(lockPath(sessionOf(QFileInfo(manifest).fileName())));
    return (boot.isEmpty() || boot != platform::bootId()) && QFileInfo::exists(safePath(manifest));
}

void SessionFolder::settle(const QString& manifest) const
{
    if (isSafeOneWanted(manifest) && std::rename(QFile::encodeName(safePath(manifest)).constData(),
                                                 QFile::encodeName(manifest).constData()) != 0)
        qWarning().noquote() << manifest << "cannot be replaced:" << platform::lastSystemError();
}

void SessionFolder::remove(const QString& name, Kind kind) const
{
    if (kind == Kind::Foreign || (kind == Kind::Manifest && isAlive(sessionOf(name))))
        return;
    FileLock::removeUnheld(m_path + QLatin1Char('/') + name);
}

void SessionFolder::reset() const
{
    for (const QString& name : names())
        if (const Kind kind = kindOf(name); kind != Kind::Wave)
            remove(name, kind);
}

void SessionFolder::age(int days) const
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const QString& name : names()) {
        const Kind kind = kindOf(name);
        if (kind == Kind::Foreign)
            continue;
        const QDateTime changed = QFileInfo(m_path + QLatin1Char('/') + name).lastModified();
        if (changed.isValid() && changed.msecsTo(now) > days * dayMs)
            remove(name, kind);
    }
}

void SessionFolder::forgetSession(const QString& session) const
{
    for (const QString& name : names())
        if (sessionOf(name) == session)
            return;
    FileLock::removeUnheld(lockPath(session));
}
