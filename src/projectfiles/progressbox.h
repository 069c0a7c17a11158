// The progress of an import or export, with a button to cancel.
#pragma once

#include <cstdint>
#include <memory>

#include <QElapsedTimer>
#include <QString>

class QProgressDialog;
class QWidget;

// A window-modal progress dialog that is shown at once. Its call operator fits the progress callbacks of
// FileImport and FileExport: it moves the bar and runs the event loop, at most thirty times a second, so
// that it costs a long import nothing. GUI thread.
class ProgressBox
{
public:
    ProgressBox(QWidget* parent, const QString& text);
    ~ProgressBox();
    ProgressBox(const ProgressBox&) = delete;
    ProgressBox& operator=(const ProgressBox&) = delete;

    // False once the user has cancelled. total < 1: the length is not known.
    bool operator()(int64_t done, int64_t total);

private:
    std::unique_ptr<QProgressDialog> m_dialog;
    QElapsedTimer m_sinceShown;
};
