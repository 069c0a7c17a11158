// What support asks for first: program, system, graphics, and where the log lies.
#pragma once

#include <QDialog>
#include <QString>

// The lines of the report: name and version of the program, versions of Qt and OpenGL, the report of
// the system that stands at the head of this session's log, and the path of the log.
[[nodiscard]] QString supportInfoText();

// Shows that text, with a button that copies it.
class SupportInfoDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SupportInfoDialog(QWidget* parent);
};
