// What opening and importing share beside the samples.
#pragma once

#include "model/project.h"
#include "projectfiles/fileimport.h"

#include <cstdint>

#include <QElapsedTimer>

// Adds what the file tells beside its samples: its marks, where the layer stands that starts at `start`,
// and its tags, but for those that the document has already.
void addImportedMarks(Project& project, const ImportedFile& file, int64_t start);

// How often a growing layer is drawn anew: each time costs a whole picture, on the cores that decode.
class ShowPace
{
public:
    ShowPace() { m_timer.start(); }
    bool isDue()
    {
        if (m_timer.elapsed() < interval)
            return false;
        m_timer.restart();
        return true;
    }

private:
    static constexpr int interval = 300; // ms
    QElapsedTimer m_timer;
};
