// The ids of the records in the binary form of a project.
#pragma once

#include <cstdint>

namespace recordid {

// At the top, in the order in which they are written.
enum Top : uint32_t {
    ShortFormat = 0, // and 1, 2: rate rounded, channels, low half of the mask; the old form
    Writer = 3,      // application and version; never read
    Format = 10,     // to 14, the rows of projectfields::format; overrides the short form
    ProjectSettings = 4096,
    DisplaySettings = 4112,
    UnitSettings = 4128,
    TransportSettings = 4144,
    LayerBlock = 16,
    GroupBlock = 17,
    MetaDataBlock = 32,
    MarkerBlock = 48,
    SpectralMarkerBlock = 64,
};

// In a layer or group: the properties are 0 to 5, then the format as at the top.
enum Node : uint32_t {
    NodeName = 0,
    NodeEnabled = 1,
    NodePolarity = 2,
    NodeMultiplier = 3, // single precision
    NodeSolo = 4,
    NodeColor = 5,
    NodeShortFormat = 16, // to 18
    NodeFormat = 10,      // to 14
    LayerStartSeconds = 19,
    LayerStart = 21,
    LayerSamples = 32,
    GroupOpen = 48,
    GroupCount = 49,
};

enum MetaData : uint32_t { MetaDataTag = 0, MetaDataText = 1 };

// The numbers stand in projectfields::marker and projectfields::spectralMarker.
enum MarkerField : uint32_t {
    MarkerSeconds = 1,
    MarkerSecondsLength = 2,
    MarkerText = 3,
    MarkerPosition = 4
};
enum SpectralMarkerField : uint32_t { SpectralMarkerText = 5 };

} // namespace recordid
