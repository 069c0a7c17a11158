// Finding, choosing and starting the plug-ins.
#pragma once

#include "plugins/hosttable.h"
#include "plugins/includerows.h"

#include <functional>
#include <memory>
#include <vector>

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

class IDevicePlugin;
class IFilePlugin;
class IProcessPlugin;
class IToolPlugin;
class QObject;
class QPluginLoader;
class QWidget;

// Part of the shortcut id of a process's entry: the description in lower case without blanks,
// followed by index + 1 for every entry but the first: "levels", "levels2", "levels3".
[[nodiscard]] QString processShortcutId(const QString& description, int index);

// Loads what the include rows ask for and sorts it into four lists. Lives as long as the main
// window; the plug-ins live until the process ends. GUI thread.
//
// Nothing that goes wrong with a plug-in stops the start: it is left out, with a line in the log
// that names it and tells why.
class PluginLoader
{
public:
    struct Settings
    {
        QString folder; // searched with all folders below it; links in it are not followed
        QList<IncludeRow> rows;
        std::function<void(HostTable&)> fillHostTable;
        QWidget* mainWindow = nullptr; // parent for dialogs of the plug-ins
        QString probeProgram;          // see PluginProbe
        QString cacheFolder;
        int probeLimit = 10000; // ms
    };

    PluginLoader();
    ~PluginLoader();
    PluginLoader(const PluginLoader&) = delete;
    PluginLoader& operator=(const PluginLoader&) = delete;

    // The order of loading is that of the rows and of the names within them. A library matches a
    // name of a row when its full path contains the row's path and the name (without case), the
    // IID in its metadata contains the name (with case), and no earlier row took it. Only a library
    // that matches is loaded; metadata are read without loading. Returns how many were cast.
    int load(const Settings& settings);

    // Sorts one instance by the first interface that it answers to, in the order file, device, tool,
    // process: fills its host table and calls its init(). False when `instance` is null or answers
    // to none; true even when init() refuses or throws, as the library is then dealt with, though
    // left out of the lists.
    bool castPlugin(QObject* instance, const QString& libraryPath, const Settings& settings);

    [[nodiscard]] const QList<IFilePlugin*>& filePlugins() const { return m_files; }
    [[nodiscard]] const QList<IDevicePlugin*>& devicePlugins() const { return m_devices; }
    // Tools of one group stand together, groups in the order of their first tool.
    [[nodiscard]] const QList<IToolPlugin*>& toolPlugins() const { return m_tools; }
    [[nodiscard]] const QList<IProcessPlugin*>& processPlugins() const { return m_processes; }
    // The group of each tool in toolPlugins().
    [[nodiscard]] const QStringList& toolGroups() const { return m_groups; }
    // Whose signals those of a process are.
    [[nodiscard]] QObject* objectOf(const IProcessPlugin* process) const { return m_objects.value(process); }

private:
    struct Candidate
    {
        std::unique_ptr<QPluginLoader> loader;
        QString path;
        QString iid;
        bool casted = false;
        bool refused = false; // not tried a second time in this start
    };
    void list(const QString& folder, int depth);
    QObject* instantiate(Candidate& candidate) const;
    void insertTool(IToolPlugin* tool, const QString& path);

    std::vector<Candidate> m_candidates;
    QList<IFilePlugin*> m_files;
    QList<IDevicePlugin*> m_devices;
    QList<IToolPlugin*> m_tools;
    QStringList m_groups; // of m_tools
    QList<IProcessPlugin*> m_processes;
    QHash<const IProcessPlugin*, QObject*> m_objects;
};
