// Lets go of trees without recursion.
#pragma once

#include <memory>
#include <vector>

// A destructor hands over what it holds; the outermost one on the thread releases it piece by piece,
// so that a chain of any length needs no deeper stack than one link. Any thread.
class ReleaseLater
{
public:
    ReleaseLater() = default;
    ReleaseLater(const ReleaseLater&) = delete;
    ReleaseLater& operator=(const ReleaseLater&) = delete;
    ~ReleaseLater();

    template<class T>
    void take(std::shared_ptr<T>& pointer)
    {
        if (pointer)
            (s_active ? s_active : this)->m_pointers.push_back(std::move(pointer));
    }

private:
    static thread_local ReleaseLater* s_active; // the one that releases at present
    std::vector<std::shared_ptr<const void>> m_pointers;
};
