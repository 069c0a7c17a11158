#include "app/probe.h"

#include "base/platform.h"
#include "plugins/ifileplugin.h"
#include "plugins/iprocessplugin.h"
#include "plugins/itoolplugin.h"
#include "plugins/plugincall.h"
#include "plugins/pluginloader.h"
#include "projectfiles/hostservices.h"

#include <cstdio>
#include <exception>

#include <QApplication>
#include <QPluginLoader>

namespace {

// A crash in what the window asks for while it is built would come at every start. What throws is told there.
void askAsTheWindow(const PluginLoader& loader)
{
    QString cause;
    for (const IFilePlugin* file : loader.filePlugins())
        callPlugin(cause, [&] { return file->description().size() + file->importFilters().size(); });
    for (IToolPlugin* tool : loader.toolPlugins())
        callPlugin(cause, [&] {
            return tool->description().size() + (tool->toolButton() != nullptr) +
                   (tool->optionsWidget() != nullptr);
        });
    for (const IProcessPlugin* process : loader.processPlugins())
        callPlugin(cause, [&] {
            return process->description().size() + process->menuName().size() +
                   process->processNames().size();
        });
}

} // namespace

int runProbe(int argc, char** argv)
{
    // The first line that is printed becomes the cause in the log; Qt's remarks are none.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const auto refuse = [](const QString& cause) {
        std::printf("%s\n", cause.toLocal8Bit().constData());
        return 1;
    };
    if (argc != 2)
        return refuse(QStringLiteral("usage: morvane_probe <library>"));
    // Nobody wants the memory image of a plug-in that fails its test.
    platform::disableCoreDumps();
    qputenv("QT_QPA_PLATFORM", "offscreen"); // plug-ins make widgets, and there may be no display
    const QString path = QString::fromLocal8Bit(argv[1]);
    const QApplication application(argc, argv);
    QPluginLoader library(path);
    QObject* instance = nullptr;
    try {
        instance = library.instance();
    } catch (const std::exception& e) {
        return refuse(QStringLiteral("threw: ") + QString::fromLocal8Bit(e.what()));
    } catch (...) {
        return refuse(QStringLiteral("threw"));
    }
    if (!instance)
        return refuse(QStringLiteral("could not be loaded: ") + library.errorString());
    PluginLoader::Settings settings;
    settings.fillHostTable = fillHostTable;
    PluginLoader loader;
    if (!loader.castPlugin(instance, path, settings))
        return refuse(QStringLiteral("answers to no interface of ours"));
    askAsTheWindow(loader);
    return 0;
}
