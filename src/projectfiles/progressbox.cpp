#include "projectfiles/progressbox.h"

#include <algorithm>

#include <QCoreApplication>
#include <QProgressDialog>

namespace {

constexpr int steps = 1000;
constexpr int interval = 33; // ms

} // namespace

ProgressBox::ProgressBox(QWidget* parent, const QString& text)
    : m_dialog(std::make_unique<QProgressDialog>(text, QCoreApplication::translate("ProjectTabs", "Cancel"),
                                                 0, steps, parent))
{
    m_dialog->setWindowModality(Qt::WindowModal);
    m_dialog->setMinimumDuration(0);
    m_dialog->setAutoReset(false);
    m_dialog->setAutoClose(false);
    m_dialog->setValue(0);
    m_dialog->show(); // by itself it would wait for the second value
    m_sinceShown.start();
}

ProgressBox::~ProgressBox() = default;

bool ProgressBox::operator()(int64_t done, int64_t total)
{
    if (m_sinceShown.elapsed() >= interval) {
        if (total > 0)
            m_dialog->setValue(int(steps * std::clamp(double(done) / double(total), 0.0, 1.0)));
        QCoreApplication::processEvents();
        m_sinceShown.restart();
    }
    return !m_dialog->wasCanceled();
}
