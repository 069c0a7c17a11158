#include "projectfiles/importmarks.h"

void addImportedMarks(Project& project, const ImportedFile& file, int64_t start)
{
    MarkerList markers = file.markers;
    for (Marker& marker : markers)
        marker.position += start;
    SpectralMarkerList spectral = file.spectralMarkers;
    for (SpectralMarker& marker : spectral)
        marker.time += double(start);
    project.setMarkerList(project.markerList() + markers);
    project.setSpectralMarkerList(project.spectralMarkerList() + spectral);
    for (auto it = file.metaData.begin(); it != file.metaData.end(); ++it)
        if (!project.metadata.contains(it.key()))
            project.metadata.insert(it.key(), it.value());
}
