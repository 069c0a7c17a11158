#include "model/releaselater.h"

thread_local ReleaseLater* ReleaseLater::s_active = nullptr;

ReleaseLater::~ReleaseLater()
{
    if (s_active)
        return;
    s_active = this;
    while (!m_pointers.empty()) {
        const std::shared_ptr<const void> last = std::move(m_pointers.back());
        m_pointers.pop_back();
    }
    s_active = nullptr;
}
