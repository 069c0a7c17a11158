#include "fakeplugin.h"

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <unistd.h>

#include <QFile>

namespace {

enum Kind { Good, Refuse, Throw, Crash, Hang, CtorThrow, Locale };
constexpr Kind kind = FAKE_KIND;

// Each load leaves a trace, so that a test can tell what was loaded and in which process.
struct Trace
{
    Trace()
    {
        const QString folder = qEnvironmentVariable("FAKE_TRACES");
        if (folder.isEmpty())
            return;
        QFile file(QStringLiteral("%1/%2.%3").arg(folder, QStringLiteral(FAKE_IID)).arg(getpid()));
        file.open(QFile::WriteOnly);
    }
} trace;

} // namespace

FakePlugin::FakePlugin()
{
    if (kind == CtorThrow)
        throw std::runtime_error("thrown while it was made");
    if (kind == Locale)
        std::setlocale(LC_NUMERIC, "");
}

bool FakePlugin::init(const QString&, QWidget*)
{
    if (kind == Throw)
        throw std::runtime_error("thrown in init");
    if (kind == Crash)
        std::abort();
    for (; kind == Hang;)
        pause();
    // Filled before anything else was called.
    const auto* entries = reinterpret_cast<void* const*>(&host);
    for (int i = 0; i < hostTableEntries; ++i)
        if (!entries[i])
            std::abort();
    return kind != Refuse;
}
