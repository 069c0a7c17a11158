// What the shared library shows: the way in for a host, and for the executables beside it.
#include "app/engine.h"
#include "app/probe.h"
#include "app/program.h"

#include <QtGlobal>

extern "C" Q_DECL_EXPORT MVE::IEngine* getEngine()
{
    return MVE::Engine::forHost();
}

extern "C" Q_DECL_EXPORT int morvaneMain(int argc, char** argv)
{
    return runProgram(argc, argv);
}

extern "C" Q_DECL_EXPORT int morvaneProbe(int argc, char** argv)
{
    return runProbe(argc, argv);
}
