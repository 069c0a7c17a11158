// Progress of an open, import or export that may be over before anybody could read a dialog.
#pragma once

#include "projectfiles/progressbox.h"

#include <optional>

#include <QElapsedTimer>
#include <QString>

// Shows its ProgressBox only when the work takes longer than a blink, so that short files open
// without a flash. GUI thread.
class LoadProgress
{
public:
    // Milliseconds. Tests that want the box at once set it to 0.
    inline static int patience = 250;

    LoadProgress(QWidget* window, QString text, int wait = patience)
        : m_window(window),
          m_text(std::move(text)),
          m_wait(wait)
    {
        m_timer.start();
    }

    // False once the user has cancelled.
    bool operator()(int64_t done, int64_t total)
    {
        if (!m_box && m_timer.elapsed() < m_wait)
            return true;
        if (!m_box)
            m_box.emplace(m_window, m_text);
        return (*m_box)(done, total);
    }

private:
    QWidget* m_window;
    QString m_text;
    int m_wait;
    QElapsedTimer m_timer;
    std::optional<ProgressBox> m_box;
};
