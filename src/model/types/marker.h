// Marks on the time axis and in the time-frequency plane, and the text tags of a file.
#pragma once

#include <cstdint>
#include <string>

#include <QHash>
#include <QList>
#include <QString>

// A point in time, or a region when `length` is above 0. Positions in sample points, text in UTF-8.
struct Marker
{
    int32_t id = 0;
    int64_t position = 0;
    int64_t length = 0;
    std::string description;

    friend bool operator==(const Marker&, const Marker&) = default;
};
using MarkerList = QList<Marker>;

// A point, or a rectangle when `width` and `height` are above 0: samples and Hz.
struct SpectralMarker
{
    double time = 0;
    double freq = 0;
    double width = 0;
    double height = 0;
    std::string description;

    friend bool operator==(const SpectralMarker&, const SpectralMarker&) = default;
};
using SpectralMarkerList = QList<SpectralMarker>;

// RIFF INFO tag ("INAM", "IART", ...) to text.
using MetaDataList = QHash<QString, QString>;
