// What a host application that loads this program as a library sees of it. Standard types only, so
// that the host need not use the same Qt. Every call in the thread that called getEngine().
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace MVE {

class IWindow;
class IDevice;
class IProjectManager;

// The order of the operations is fixed: hosts are compiled against it.
class IEngine
{
public:
    virtual ~IEngine() = default;
    // Keys pressed in a hosted window may reach the host, this program, or both. A key that the
    // window has seen less than 31 ms ago is dropped, any other goes to the widget with the focus.
    // `key` and `modifiers` are Qt's numbers, `character` is one UTF-16 unit. Always true.
    virtual bool keyPress(int32_t key, int32_t modifiers, int32_t character) = 0;
    virtual bool keyRelease(int32_t key, int32_t modifiers, int32_t character) = 0;
    // One line in our log.
    virtual void log(const std::string& text) = 0;
    // Calls `callback` every `milliseconds` in our thread, until stopTimer() or the engine's end.
    virtual void setTimer(std::function<void()> callback, int milliseconds) = 0;
    virtual void stopTimer() = 0;
    // Null while there is no such thing, as after a start that had nothing further to do.
    virtual IWindow* window() = 0;
    virtual IDevice* device() = 0;
    virtual IProjectManager* projectManager() = 0;
};

} // namespace MVE
