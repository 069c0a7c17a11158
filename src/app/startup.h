// The one routine that brings the application up.
#pragma once

#include <QString>
#include <QStringList>

class MainWindow;
class QLocalServer;

// Runs in the main thread, or in the thread of a host that loaded us as a library (`embedded`).
// `argc` and `argv` are kept by the application object and must live as long. Creates the application
// object, fills the property store, decides whether this process is the session, and builds the main
// window without showing it. No window afterwards means that this process has nothing further to do.
// `server` is filled when this process listens for later launches.
void start(int& argc, char** argv, bool embedded, QLocalServer*& server, MainWindow*& window);
