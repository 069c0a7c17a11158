#include "display/rendererclock.h"

#include <GL/glx.h>

#include <ctime>
#include <dlfcn.h>
#include <string_view>

namespace {

rendererclock::Reading totals;
int depth = 0; // a swap may flush

int64_t now(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

template<class Function>
Function real(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

template<class Work>
void counted(int64_t& count, const Work& work)
{
    ++count;
    const int64_t wall = now(CLOCK_MONOTONIC);
    const int64_t processor = now(CLOCK_THREAD_CPUTIME_ID);
    ++depth;
    work();
    if (--depth > 0)
        return;
    totals.wall += now(CLOCK_MONOTONIC) - wall;
    totals.processor += now(CLOCK_THREAD_CPUTIME_ID) - processor;
}

extern "C" void countedFlush()
{
    static const auto flush = real<void (*)()>("glFlush");
    counted(totals.flushes, flush);
}

extern "C" void countedFinish()
{
    static const auto finish = real<void (*)()>("glFinish");
    counted(totals.flushes, finish);
}

// What a call does not compute it waits.
template<class Call>
void waited(const Call& call)
{
    const int64_t wall = now(CLOCK_MONOTONIC);
    const int64_t processor = now(CLOCK_THREAD_CPUTIME_ID);
    call();
    const int64_t slept = now(CLOCK_MONOTONIC) - wall - (now(CLOCK_THREAD_CPUTIME_ID) - processor);
    if (depth == 0 && slept > 0)
        totals.wall += slept;
}

extern "C" void waitedTexSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width,
                                    GLsizei height, GLenum format, GLenum type, const void* pixels)
{
    static const auto upload = real<decltype(&waitedTexSubImage2D)>("glTexSubImage2D");
    waited([&] { upload(target, level, x, y, width, height, format, type, pixels); });
}

extern "C" void waitedTexImage2D(GLenum target, GLint level, GLint internal, GLsizei width, GLsizei height,
                                 GLint border, GLenum format, GLenum type, const void* pixels)
{
    static const auto upload = real<decltype(&waitedTexImage2D)>("glTexImage2D");
    waited([&] { upload(target, level, internal, width, height, border, format, type, pixels); });
}

using Address = void (*)();

Address addressOf(const GLubyte* name)
{
    const std::string_view asked(reinterpret_cast<const char*>(name));
    if (asked == "glFlush")
        return countedFlush;
    if (asked == "glFinish")
        return countedFinish;
    if (asked == "glTexSubImage2D")
        return reinterpret_cast<Address>(waitedTexSubImage2D);
    if (asked == "glTexImage2D")
        return reinterpret_cast<Address>(waitedTexImage2D);
    static const auto address = real<Address (*)(const GLubyte*)>("glXGetProcAddressARB");
    return address(name);
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) void glXSwapBuffers(Display* display, GLXDrawable drawable)
{
    static const auto swap = real<void (*)(Display*, GLXDrawable)>("glXSwapBuffers");
    counted(totals.swaps, [&] { swap(display, drawable); });
}

// Flushes what the context before had to draw.
__attribute__((visibility("default"))) Bool glXMakeCurrent(Display* display, GLXDrawable drawable,
                                                           GLXContext context)
{
    static const auto make = real<Bool (*)(Display*, GLXDrawable, GLXContext)>("glXMakeCurrent");
    Bool made = False;
    counted(totals.flushes, [&] { made = make(display, drawable, context); });
    return made;
}

__attribute__((visibility("default"))) Bool glXMakeContextCurrent(Display* display, GLXDrawable draw,
                                                                  GLXDrawable read, GLXContext context)
{
    static const auto make =
        real<Bool (*)(Display*, GLXDrawable, GLXDrawable, GLXContext)>("glXMakeContextCurrent");
    Bool made = False;
    counted(totals.flushes, [&] { made = make(display, draw, read, context); });
    return made;
}

__attribute__((visibility("default"))) Address glXGetProcAddressARB(const GLubyte* name)
{
    return addressOf(name);
}

__attribute__((visibility("default"))) Address glXGetProcAddress(const GLubyte* name)
{
    return addressOf(name);
}

} // extern "C"

rendererclock::Reading rendererclock::read()
{
    return totals;
}
