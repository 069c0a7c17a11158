// Runs the processes of the Process menu.
#pragma once

#include "editing/editdesk.h"
#include "editing/editprogress.h"

#include <QString>

class IProcessPlugin;

// What a process that throws has done is taken back, and a box tells it. GUI thread.
class ProcessRunner : public QObject
{
    Q_OBJECT

public:
    explicit ProcessRunner(EditDesk& desk) : m_desk(desk) {}

    // Before a call shows its progress.
    void setPatience(int64_t milliseconds) { m_patience = milliseconds; }

    // Runs one of the plug-in's entries on the project in front, and records a state of that name when it
    // says so. Nothing happens without a project and while another command is in work.
    void execute(IProcessPlugin& plugin, const QString& name);
    // From within execute(): everybody sees what the process has done so far, without a state of its own.
    void preview();

Q_SIGNALS:
    // Before and after: whoever plays stops.
    void stopRequested();

private:
    EditDesk& m_desk;
    int64_t m_patience = EditProgress::patience;
};
