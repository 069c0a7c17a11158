// The helper that loads a plug-in first, so that one that crashes or hangs does so here.
//
// usage: morvane_probe <library>. Exit status 0: loading it, making its instance and init() came
// back, whatever they answered. 2: wrong call. Everything else is told by the way it ends.
#include "plugins/pluginloader.h"
#include "projectfiles/hostservices.h"

#include <cstdio>

#include <sys/resource.h>

#include <QApplication>
#include <QFile>
#include <QPluginLoader>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: morvane_probe <library>\n", stderr);
        return 2;
    }
    // Nobody wants the memory image of a plug-in that fails its test.
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    // Tools make widgets in init(), but nothing shall be seen.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const QString path = QFile::decodeName(argv[1]);
    QPluginLoader library(path);
    PluginLoader::Settings settings;
    settings.fillHostTable = &fillHostTable;
    PluginLoader loader;
    try {
        loader.castPlugin(library.instance(), path, settings);
    } catch (...) {
        // The program's own loading catches it too, and says so there.
    }
    std::fflush(nullptr);
    // Destructors of plug-ins never run in the program either.
    std::_Exit(0);
}
