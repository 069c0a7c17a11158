// The running application.
#pragma once

#include "app/iengine.h"

#include <QTimer>

class MainWindow;
class QLocalServer;

namespace MVE {

// One for each process. The constructor starts the application, the destructor ends it: server,
// window, application object.
class Engine : public IEngine
{
public:
    // `argv` must outlive the engine.
    Engine(int argc, char** argv, bool embedded);
    ~Engine() override;
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // The engine of the process, null without.
    [[nodiscard]] static Engine* instance();
    // The one that exists, or a new embedded one.
    [[nodiscard]] static Engine* forHost();

    bool keyPress(int32_t key, int32_t modifiers, int32_t character) override;
    bool keyRelease(int32_t key, int32_t modifiers, int32_t character) override;
    void log(const std::string& text) override;
    void setTimer(std::function<void()> callback, int milliseconds) override;
    void stopTimer() override;
    IWindow* window() override;
    IDevice* device() override;
    IProjectManager* projectManager() override;

    // Null when this process has nothing further to do.
    [[nodiscard]] MainWindow* mainWindow() const { return m_window; }

private:
    void connectWindow();

    int m_argc;
    char** m_argv;
    QLocalServer* m_server = nullptr;
    MainWindow* m_window = nullptr;
    QTimer m_timer;
    std::function<void()> m_callback;
};

} // namespace MVE
