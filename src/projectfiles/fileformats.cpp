#include "projectfiles/fileformats.h"

#include "plugins/ifileplugin.h"
#include "projectfiles/projectsuffix.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace {

QString suffixOf(const QString& path)
{
    return QFileInfo(path).suffix().toLower();
}

} // namespace

QStringList fileformats::suffixes(const QString& filter)
{
    QStringList list;
    const int open = filter.lastIndexOf(QLatin1Char('('));
    const int close = filter.lastIndexOf(QLatin1Char(')'));
    if (open < 0 || close < open)
        return list;
    for (const QString& word :
         filter.mid(open + 1, close - open - 1).split(QLatin1Char(' '), Qt::SkipEmptyParts))
        if (word.startsWith(QLatin1String("*.")) && word.size() > 2)
            list << word.mid(2).toLower();
    return list;
}

QStringList fileformats::importSuffixes(const QList<IFilePlugin*>& plugins)
{
    QStringList list;
    for (IFilePlugin* plugin : plugins)
        for (const QString& filter : plugin->importFilters())
            list << suffixes(filter);
    list.removeDuplicates();
    return list;
}

QList<IFilePlugin*> fileformats::importers(const QList<IFilePlugin*>& plugins, const QString& path)
{
    QList<IFilePlugin*> list;
    const QString suffix = suffixOf(path);
    for (IFilePlugin* plugin : plugins)
        if (!suffix.isEmpty() && importSuffixes({plugin}).contains(suffix))
            list << plugin;
    return list;
}

QStringList fileformats::openFilters(const QList<IFilePlugin*>& plugins)
{
    QStringList patterns;
    for (const QString& suffix : suffixes(projectFilter()) + importSuffixes(plugins))
        patterns << QStringLiteral("*.") + suffix;
    QStringList list{QCoreApplication::translate("ProjectTabs", "All Supported Formats (%1)")
                         .arg(patterns.join(QLatin1Char(' '))),
                     projectFilter()};
    for (IFilePlugin* plugin : plugins)
        list << plugin->importFilters();
    return list;
}

QStringList fileformats::exportFilters(const QList<IFilePlugin*>& plugins, const QString& first)
{
    QStringList list;
    for (IFilePlugin* plugin : plugins)
        list << plugin->exportFilters();
    if (list.removeAll(first) > 0)
        list.prepend(first);
    return list;
}

fileformats::Exporter fileformats::exporter(const QList<IFilePlugin*>& plugins, const QString& path,
                                            const QString& filter)
{
    const QString suffix = suffixOf(path);
    Exporter found;
    for (IFilePlugin* plugin : plugins)
        for (const QString& candidate : plugin->exportFilters()) {
            if (!suffixes(candidate).contains(suffix))
                continue;
            if (candidate == filter)
                return {plugin, candidate};
            if (!found.plugin)
                found = {plugin, candidate};
        }
    return found;
}
