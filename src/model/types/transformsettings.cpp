#include "model/types/transformsettings.h"

#include <QString>

#include <iterator>

namespace {

// In the order of WindowType.
constexpr const char* windowNames[] = {"Kaiser-15", "Blackman-Harris", "Blackman", "Hann",
                                       "Hamming",   "Bartlett",        "Rectangle"};
static_assert(std::size(windowNames) == windowTypeCount);

} // namespace

WindowType windowTypeFromString(const QString& text)
{
    for (int i = 0; i < windowTypeCount; ++i)
        if (text.compare(QLatin1String(windowNames[i]), Qt::CaseInsensitive) == 0)
            return WindowType(i);
    return WindowType::Rectangle;
}

QString windowTypeToString(WindowType type)
{
    const int i = int(type);
    return QLatin1String(windowNames[i >= 0 && i < windowTypeCount ? i : int(WindowType::Rectangle)]);
}
