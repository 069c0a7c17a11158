// Tables of 256 colours for the colour maps that have no formula.
#pragma once

struct ColormapTable
{
    const char* name;   // as shown
    const char* colors; // 256 times "rrggbb"
};

inline constexpr int ownColormapCount = 11;
extern const ColormapTable ownColormaps[ownColormapCount];

inline constexpr int publishedColormapCount = 5;
extern const ColormapTable publishedColormaps[publishedColormapCount];
