#include "app/parentprocess.h"

namespace {

struct KnownParent
{
    const char* word; // looked for in the lower-cased image path, the first hit counts
    const char* displayName;
};
constexpr KnownParent knownParents[] = {
    {"forge", "Sound Forge Pro"},   {"protools", "Pro Tools"},     {"pro tools", "Pro Tools"},
    {"sam.exe", "Samplitude"},      {"sam_x64.exe", "Samplitude"}, {"sequoia.exe", "Sequoia"},
    {"sequoia_x64.exe", "Sequoia"},
};

} // namespace

QString parentDisplayName(const QString& imagePath)
{
    const QString lower = imagePath.toLower();
    for (const KnownParent& row : knownParents)
        if (lower.contains(QLatin1String(row.word)))
            return QString::fromLatin1(row.displayName);
    return {};
}
