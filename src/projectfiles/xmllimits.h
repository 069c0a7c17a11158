// What a manifest may cost.
#pragma once

#include <cstdint>

class QIODevice;
class QString;

namespace xmllimits {

constexpr int64_t bytes = 64 << 20;        // of a manifest
constexpr int64_t tagBytes = 8 << 20;      // of one tag, with the texts of its attributes
constexpr int64_t markupBytes = 256 << 10; // of one tag without them; of a comment; of what lies between tags
constexpr int attributes = 64;             // of one tag; the parser's time grows with their square
constexpr int64_t elements = 2000000;
constexpr int depth = 64;
constexpr int textUnits = 1 << 19; // of one attribute when it is written; as XML at most 6 bytes each

// Looks through a manifest for what would cost the parser memory or time without bound: sizes beyond
// those above, document types, encodings other than UTF-8. Bounded in its own cost, so it comes first.
// False with the cause in `words`. Leaves the device at its beginning.
[[nodiscard]] bool check(QIODevice& device, QString& words);

} // namespace xmllimits
