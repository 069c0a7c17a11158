// The log of this session, to read and to pass on.
#pragma once

#include <QDialog>

// Path of the log file of this session.
[[nodiscard]] QString sessionLogPath();

// Shows the log as it stands when the dialog opens. Modal; shows the last 4 MiB of a longer log.
class LogDialog : public QDialog
{
    Q_OBJECT

public:
    explicit LogDialog(QWidget* parent);

private:
    void save();
};
