#include "plugins/pluginprobe.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSaveFile>

namespace {

constexpr qint64 maxCacheBytes = 1 << 20;

QString sizeAndTime(const QString& path)
{
    const QFileInfo info(path);
    return QStringLiteral("%1 %2").arg(info.size()).arg(info.lastModified().toMSecsSinceEpoch());
}

} // namespace

PluginProbe::PluginProbe(const QString& program, const QString& cacheFolder, int limit)
    : m_program(program),
      m_cacheFile(cacheFolder.isEmpty() ? QString() : cacheFolder + QStringLiteral("/plugins.json")),
      m_limit(limit)
{
    read();
}

bool PluginProbe::isSafe(const QString& library)
{
    m_cause.clear();
    if (m_program.isEmpty())
        return true;
    const QString stamp = stampOf(library);
    const auto known = m_verdicts.constFind(library);
    if (known != m_verdicts.constEnd() && known->stamp == stamp) {
        m_cause = known->cause;
        return m_cause.isEmpty();
    }
    QString cause;
    if (!run(library, cause))
        return true;
    m_verdicts.insert(library, {stamp, cause});
    write();
    m_cause = cause;
    return m_cause.isEmpty();
}

QString PluginProbe::stampOf(const QString& library) const
{
    return sizeAndTime(library) + QStringLiteral(" / ") + sizeAndTime(m_program);
}

// False when the helper itself could not be run, so that there is no verdict.
bool PluginProbe::run(const QString& library, QString& cause)
{
    ++m_runs;
    QProcess helper;
    helper.setProcessChannelMode(QProcess::MergedChannels);
    helper.start(m_program, {library});
    if (!helper.waitForStarted(m_limit)) {
        qWarning().noquote() << "plug-ins are loaded without a test, since" << m_program
                             << "cannot be started:" << helper.errorString();
        return false;
    }
    helper.closeWriteChannel();
    if (!helper.waitForFinished(m_limit)) {
        helper.kill();
        helper.waitForFinished(m_limit);
        cause = QStringLiteral("did not answer within %1 s").arg(m_limit / 1000.0);
    } else if (helper.exitStatus() != QProcess::NormalExit) {
        cause = QStringLiteral("crashed");
    } else if (helper.exitCode() != 0) {
        cause = QString::fromLocal8Bit(helper.readAll()).section(QLatin1Char('\n'), 0, 0).left(200);
        if (cause.isEmpty())
            cause = QStringLiteral("ended with status %1").arg(helper.exitCode());
    }
    return true;
}

void PluginProbe::read()
{
    QFile file(m_cacheFile);
    if (m_cacheFile.isEmpty() || file.size() > maxCacheBytes || !file.open(QFile::ReadOnly))
        return;
    const QJsonArray rows = QJsonDocument::fromJson(file.read(maxCacheBytes)).array();
    for (const QJsonValue& row : rows) {
        const QJsonArray fields = row.toArray();
        m_verdicts.insert(fields.at(0).toString(), {fields.at(1).toString(), fields.at(2).toString()});
    }
}

void PluginProbe::write() const
{
    if (m_cacheFile.isEmpty())
        return;
    QDir().mkpath(QFileInfo(m_cacheFile).path());
    QJsonArray rows;
    for (auto i = m_verdicts.constBegin(); i != m_verdicts.constEnd(); ++i)
        if (QFileInfo::exists(i.key()))
            rows.append(QJsonArray{i.key(), i->stamp, i->cause});
    QSaveFile file(m_cacheFile);
    // A verdict that cannot be kept costs one more run of the helper, nothing else.
    if (file.open(QFile::WriteOnly) && file.write(QJsonDocument(rows).toJson()) >= 0)
        file.commit();
}
