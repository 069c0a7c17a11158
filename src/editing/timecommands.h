// Insert, delete and crop of time in all layers of the project.
#pragma once

#include "editing/editdesk.h"
#include "editing/editprogress.h"
#include "model/layer.h"

// Each asks for a start and a length in the project's unit of time, and then changes the time line of every
// layer, active, visible or not. All layers change or none does: a cancel or a full disk leaves everything
// as it was. Nothing is selected afterwards. Markers and regions keep their positions. Nothing happens for a
// length below 1, nor when an insertion or a deletion reaches no layer. GUI thread.
class TimeCommands
{
public:
    explicit TimeCommands(EditDesk& desk) : m_desk(desk) {}

    void insertTime();
    void deleteTime();
    void cropTime();

    // How long an edit takes before its progress shows, in ms. For tests.
    void setPatience(int64_t milliseconds) { m_patience = milliseconds; }

private:
    void run(TimeChangeKind kind, const char* title);
    // False when nothing has changed.
    [[nodiscard]] bool change(TimeChangeKind kind, const Range& range, const QString& title);

    EditDesk& m_desk;
    int64_t m_patience = EditProgress::patience;
};
