// What plug-ins see of a document.
#pragma once

#include "model/ilayer.h"
#include "model/types/marker.h"

#include <cstdint>
#include <list>
#include <string>

// The order of the operations is part of the contract with plug-ins, which compile against it: new ones
// go to the end. Positions in sample points, frequencies in Hz, text in UTF-8. The ...Time() operations
// tell when something was changed last, as stamps of base/clock.h (0: never), so that a plug-in can
// poll. GUI thread.
class IProject
{
public:
    [[nodiscard]] virtual SamplingFormat format() const = 0;
    // A format that makes no sense changes nothing.
    virtual void setFormat(SamplingFormat format) = 0;
    [[nodiscard]] virtual std::string path() const = 0;
    virtual void setPath(std::string path) = 0;
    [[nodiscard]] virtual int32_t timeUnit() const = 0; // TimeUnit
    [[nodiscard]] virtual double bpm() const = 0;
    [[nodiscard]] virtual int32_t bar() const = 0;
    [[nodiscard]] virtual int32_t beat() const = 0;
    // The tempo, as bpm() gives it, and not the frame rate: plug-ins and saved projects rely on that.
    [[nodiscard]] virtual double frameRate() const = 0;
    virtual void setTimeUnit(int32_t unit) = 0;
    virtual void setTimeSignature(double bpm, int32_t bar, int32_t beat) = 0;
    virtual void setFrameRate(double framesPerSecond) = 0;
    [[nodiscard]] virtual int64_t unitsTime() const = 0;
    [[nodiscard]] virtual int64_t position() const = 0; // of the transport
    virtual void setPosition(int64_t position) = 0;
    [[nodiscard]] virtual int64_t positionTime() const = 0;
    [[nodiscard]] virtual Area displayArea() const = 0;
    virtual void setDisplayArea(Area area) = 0;
    [[nodiscard]] virtual int64_t displayAreaTime() const = 0;
    // -1: the active layer; 0 to 2: a node of the layer tree; null for any other index.
    [[nodiscard]] virtual ILayerPtr layer(int32_t index) const = 0;
    virtual void setActiveLayer(ILayerPtr layer) = 0;
    [[nodiscard]] virtual int64_t activeLayerTime() const = 0;
    [[nodiscard]] virtual std::list<Marker> markers() const = 0;
    virtual void setMarkers(std::list<Marker> markers) = 0;
    [[nodiscard]] virtual int64_t markersTime() const = 0;
    [[nodiscard]] virtual std::list<SpectralMarker> spectralMarkers() const = 0;
    virtual void setSpectralMarkers(std::list<SpectralMarker> markers) = 0;
    [[nodiscard]] virtual int64_t spectralMarkersTime() const = 0;
    // Starts the history anew with one state of that name, behind which nothing can be undone.
    virtual void resetHistory(std::string name) = 0;
    virtual ~IProject() = default;
};
