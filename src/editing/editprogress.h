// The progress of an edit.
#pragma once

#include <cstdint>
#include <memory>

#include <QElapsedTimer>
#include <QString>

class ProgressBox;
class QWidget;

// A progress callback that shows a window-modal dialog with a button to cancel once the edit has taken
// longer than a second. Until then it does nothing, so that a short edit neither flickers nor runs the
// event loop. GUI thread.
class EditProgress
{
public:
    static constexpr int64_t patience = 1000; // ms

    EditProgress(QWidget* window, const QString& label, int64_t delay = patience);
    ~EditProgress();
    EditProgress(const EditProgress&) = delete;
    EditProgress& operator=(const EditProgress&) = delete;

    // False once the user has cancelled.
    bool operator()(int done, int total);
    [[nodiscard]] bool isShown() const { return m_box != nullptr; }

private:
    QWidget* m_window;
    QString m_label;
    int64_t m_delay;
    QElapsedTimer m_since;
    std::unique_ptr<ProgressBox> m_box;
};
