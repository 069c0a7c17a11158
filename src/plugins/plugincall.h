// Calls into the code of plug-ins.
#pragma once

#include <QString>

#include <exception>
#include <optional>

// What a plug-in's function answers; nothing when it throws, and `cause` then tells why, as far as it does.
template<class Call>
auto callPlugin(QString& cause, Call call) -> std::optional<decltype(call())>
{
    try {
        return call();
    } catch (const std::exception& error) {
        cause = QString::fromLocal8Bit(error.what());
    } catch (...) {
        cause.clear();
    }
    return {};
}
