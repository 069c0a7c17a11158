#include "plugins/pluginloader.h"

#include "plugins/ideviceplugin.h"
#include "plugins/ifileplugin.h"
#include "plugins/iprocessplugin.h"
#include "plugins/itoolplugin.h"
#include "plugins/pluginprobe.h"

#include <clocale>
#include <exception>
#include <optional>

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>
#include <QPluginLoader>

namespace {

// Deeper folders than this below the plug-in folder are none of ours.
constexpr int maxDepth = 8;

QString fileNameOf(const QString& path)
{
    return QFileInfo(path).fileName();
}

// Calls a plug-in's code; an exception is reported with the plug-in's name and gives `fallback`.
template<class Call>
auto guarded(const QString& path, const char* what, Call call, decltype(call()) fallback)
{
    try {
        return call();
    } catch (const std::exception& e) {
        qWarning().noquote() << "plug-in" << fileNameOf(path) << "is left out:" << what
                             << "threw:" << e.what();
    } catch (...) {
        qWarning().noquote() << "plug-in" << fileNameOf(path) << "is left out:" << what << "threw";
    }
    return fallback;
}

template<class Interface>
Interface* answersTo(QObject* instance, const char* iid)
{
    return static_cast<Interface*>(instance->qt_metacast(iid));
}

// True when init() accepted.
template<class Interface>
bool start(Interface& plugin, const QString& path, const PluginLoader::Settings& settings)
{
    if (settings.fillHostTable)
        settings.fillHostTable(plugin.host);
    return guarded(
        path, "init", [&] { return plugin.init(path, settings.mainWindow); }, false);
}

} // namespace

QString processShortcutId(const QString& description, int index)
{
    const QString root = description.toLower().remove(QLatin1Char(' '));
    return index > 0 ? root + QString::number(index + 1) : root;
}

PluginLoader::PluginLoader() = default;
PluginLoader::~PluginLoader() = default;

int PluginLoader::load(const Settings& settings)
{
    m_candidates.clear();
    list(settings.folder, 0);
    PluginProbe probe(settings.probeProgram, settings.cacheFolder, settings.probeLimit);
    const auto tryToCast = [&](Candidate& candidate) {
        if (!probe.isSafe(candidate.path)) {
            qWarning().noquote() << "plug-in" << fileNameOf(candidate.path) << "is left out: in a test run it"
                                 << probe.cause();
            return false;
        }
        return castPlugin(instantiate(candidate), candidate.path, settings);
    };
    for (const IncludeRow& row : settings.rows) {
        if (row.path.isEmpty())
            continue;
        for (const QString& name : row.content.split(QLatin1Char(' '), Qt::SkipEmptyParts))
            for (Candidate& candidate : m_candidates) {
                if (candidate.casted || candidate.refused ||
                    !candidate.path.contains(row.path, Qt::CaseInsensitive) ||
                    !candidate.path.contains(name, Qt::CaseInsensitive) || !candidate.iid.contains(name))
                    continue;
                candidate.casted = tryToCast(candidate);
                candidate.refused = !candidate.casted;
            }
    }
    int count = 0;
    for (const Candidate& candidate : m_candidates)
        count += candidate.casted;
    return count;
}

// Folders first, then files, both by name; every file that carries plug-in metadata.
void PluginLoader::list(const QString& folder, int depth)
{
    if (folder.isEmpty() || depth > maxDepth)
        return;
    const QFileInfoList entries = QDir(folder).entryInfoList(
        QDir::AllDirs | QDir::Files | QDir::NoDotAndDotDot | QDir::NoSymLinks, QDir::DirsFirst | QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir()) {
            list(entry.filePath(), depth + 1);
            continue;
        }
        auto loader = std::make_unique<QPluginLoader>(entry.absoluteFilePath());
        const QString iid = loader->metaData().value(QStringLiteral("IID")).toString();
        if (!iid.isEmpty())
            m_candidates.push_back({std::move(loader), entry.absoluteFilePath(), iid});
    }
}

QObject* PluginLoader::instantiate(Candidate& candidate) const
{
    const auto load = [&] {
        QObject* instance = candidate.loader->instance();
        if (!instance)
            qWarning().noquote() << "plug-in" << fileNameOf(candidate.path)
                                 << "is left out:" << candidate.loader->errorString();
        return instance;
    };
    QObject* instance = guarded(candidate.path, "loading", load, nullptr);
    // A library's initialisation may have set the locale, and then "0.5" reads as 0 in C code.
    std::setlocale(LC_NUMERIC, "C");
    if (!instance)
        return nullptr;
    candidate.loader->setProperty("casted", false);
    qDebug().noquote() << fileNameOf(candidate.path) + QStringLiteral(" instanced");
    return instance;
}

bool PluginLoader::castPlugin(QObject* instance, const QString& libraryPath, const Settings& settings)
{
    qDebug().noquote() << QStringLiteral("casting %1...").arg(fileNameOf(libraryPath));
    if (!instance)
        return false;
    if (auto* file = answersTo<IFilePlugin>(instance, IFilePlugin_iid)) {
        if (start(*file, libraryPath, settings))
            m_files << file;
    } else if (auto* device = answersTo<IDevicePlugin>(instance, IDevicePlugin_iid)) {
        if (start(*device, libraryPath, settings))
            m_devices << device;
    } else if (auto* tool = answersTo<IToolPlugin>(instance, IToolPlugin_iid)) {
        if (start(*tool, libraryPath, settings))
            insertTool(tool, libraryPath);
    } else if (auto* process = answersTo<IProcessPlugin>(instance, IProcessPlugin_iid)) {
        if (start(*process, libraryPath, settings))
            m_processes << process;
        m_objects.insert(process, instance);
    } else {
        return false;
    }
    std::setlocale(LC_NUMERIC, "C");
    return true;
}

// The group is asked for once: a tool may throw, or tell another one each time.
void PluginLoader::insertTool(IToolPlugin* tool, const QString& path)
{
    using Group = std::optional<QString>;
    const Group group = guarded(
        path, "groupName", [&] { return Group(tool->groupName()); }, Group());
    if (!group)
        return;
    const int last = m_groups.lastIndexOf(*group);
    const int position = last < 0 ? m_tools.size() : last + 1;
    m_groups.insert(position, *group);
    m_tools.insert(position, tool);
}
