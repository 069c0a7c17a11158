// What a broken plug-in does, by words in the environment, which a helper process has too: "<where> <what>",
// as in "init crash". Where: a function of the interface, or "constructor". What: crash (an abort), wild (a
// wild pointer), hang, throw, refuse. The word in MORVANE_TEST_NAME is what the plug-in calls itself.
#pragma once

#include <cstdlib>
#include <stdexcept>

#include <unistd.h>

#include <QString>

// False where the plug-in is to refuse.
inline bool passBroken(const char* variable, const char* where)
{
    const QString words = qEnvironmentVariable(variable);
    if (words.section(QLatin1Char(' '), 0, 0) != QLatin1String(where))
        return true;
    const QString what = words.section(QLatin1Char(' '), 1);
    if (what == QLatin1String("crash"))
        std::abort();
    if (what == QLatin1String("wild"))
        *static_cast<volatile int*>(nullptr) = 1;
    while (what == QLatin1String("hang"))
        pause();
    if (what == QLatin1String("throw"))
        throw std::runtime_error(std::string("thrown in ") + where);
    return what != QLatin1String("refuse");
}

inline QString brokenName(const QString& usual)
{
    return qEnvironmentVariable("MORVANE_TEST_NAME", usual);
}
