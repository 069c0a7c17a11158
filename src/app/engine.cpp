#include "app/engine.h"

#include "app/keyfilter.h"
#include "app/qapplicationext.h"
#include "app/startup.h"
#include "base/log.h"
#include "base/platform.h"
#include "spectral/primitives/planning.h"
#include "ui/mainwindow.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QKeyEvent>
#include <QLocalServer>
#include <QScreen>

namespace {

MVE::Engine* theEngine = nullptr;

void debug(const char* text, int line = __builtin_LINE())
{
    logging::debug("MVE::Engine::~Engine", QLatin1String(text), line);
}

// Posts the key to the widget with the focus, unless the window has just seen it: `seenKey` is the
// property that holds when.
bool forwardKey(QEvent::Type type, const char* seenKey, int32_t key, int32_t modifiers, int32_t character)
{
    QWidget* focus = QApplication::focusWidget();
    if (focus && isNewKey(QDateTime::currentMSecsSinceEpoch(), qApp->property(seenKey).toLongLong()))
        QCoreApplication::postEvent(focus, new QKeyEvent(type, key, Qt::KeyboardModifiers(modifiers),
                                                         QString(QChar(static_cast<ushort>(character)))));
    return true;
}

} // namespace

namespace MVE {

Engine::Engine(int argc, char** argv, bool embedded) : m_argc(argc), m_argv(argv)
{
    theEngine = this;
    start(m_argc, m_argv, embedded, m_server, m_window);
    if (m_window)
        connectWindow();
    QObject::connect(&m_timer, &QTimer::timeout, [this] {
        if (const auto callback = m_callback) // a copy: the callback may stop the timer
            callback();
    });
}

void Engine::connectWindow()
{
    auto* application = static_cast<QApplicationExt*>(qApp);
    QObject::connect(application, &QApplicationExt::sessionImported, m_window, &MainWindow::sessionImport);
    if (m_server) {
        QObject::connect(m_server, &QLocalServer::newConnection, m_window,
                         [this] { m_window->sessionNewSocket(*m_server); });
        m_window->sessionNewSocket(*m_server); // launches that came while the window was built
    }
    QObject::connect(m_window, &MainWindow::screenChanged, m_window, [](QScreen* screen) {
        qInfo().noquote().nospace() << "Window screen changed to SCR"
                                    << QGuiApplication::screens().indexOf(screen);
    });
}

Engine::~Engine()
{
    m_timer.stop();
    debug("closing server...");
    if (m_server)
        m_server->close();
    delete m_server;
    debug("closing window...");
    if (m_window)
        m_window->close();
    delete m_window;
    shutdownPrimitives();
    debug("closing app...");
    delete qApp;
    qInfo().noquote() << "session ended";
    theEngine = nullptr;
    m_callback = nullptr;
}

Engine* Engine::instance()
{
    return theEngine;
}

Engine* Engine::forHost()
{
    if (theEngine)
        return theEngine;
    // The application object keeps the arguments, so they stay.
    static std::array<char, 1024> module;
    static char platformOption[] = "-platform";
    static char platformName[] = "xcb";
    static std::array<char*, 4> arguments = {module.data(), platformOption, platformName, nullptr};
    std::strncpy(module.data(), QFile::encodeName(platform::modulePath()).constData(), module.size() - 1);
    return new Engine(3, arguments.data(), true);
}

bool Engine::keyPress(int32_t key, int32_t modifiers, int32_t character)
{
    return forwardKey(QEvent::KeyPress, "lastkeypress", key, modifiers, character);
}

bool Engine::keyRelease(int32_t key, int32_t modifiers, int32_t character)
{
    return forwardKey(QEvent::KeyRelease, "lastkeyrelease", key, modifiers, character);
}

void Engine::log(const std::string& text)
{
    qInfo().noquote() << QString::fromStdString(text);
}

void Engine::setTimer(std::function<void()> callback, int milliseconds)
{
    m_callback = std::move(callback);
    m_timer.start(milliseconds);
}

void Engine::stopTimer()
{
    m_timer.stop();
    m_callback = nullptr;
}

// A host reaches window, device and projects once the program can be embedded.
IWindow* Engine::window()
{
    return nullptr;
}

IDevice* Engine::device()
{
    return nullptr;
}

IProjectManager* Engine::projectManager()
{
    return nullptr;
}

} // namespace MVE
