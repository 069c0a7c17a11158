#include "editing/editprogress.h"

#include "projectfiles/progressbox.h"

EditProgress::EditProgress(QWidget* window, const QString& label, int64_t delay)
    : m_window(window),
      m_label(label),
      m_delay(delay)
{
    m_since.start();
}

EditProgress::~EditProgress() = default;

bool EditProgress::operator()(int done, int total)
{
    if (!m_box && m_since.elapsed() >= m_delay)
        m_box = std::make_unique<ProgressBox>(m_window, m_label + QStringLiteral("..."));
    return !m_box || (*m_box)(done, total);
}
