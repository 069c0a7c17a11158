// The plans of this process and the one lock of the planner. For this folder alone.
#pragma once

#include "base/locks.h"
#include "spectral/primitives/dftplan.h"
#include "spectral/primitives/planning.h"
#include "spectral/primitives/wisdomfile.h"

#include <atomic>
#include <map>
#include <memory>
#include <set>

struct fftwf_plan_s;

struct PlanKey
{
    int32_t length;
    DftKind kind;
    DftDirection direction;

    friend auto operator<=>(const PlanKey&, const PlanKey&) = default;
    // "real forward 4096", as in the wisdom file.
    [[nodiscard]] QString name() const;
};

// The plans of one key. They are never destroyed: a thread may be running one at any moment, and they
// are as few as the sizes that somebody chose.
class PlanSlot
{
public:
    explicit PlanSlot(const PlanKey& slotKey) : key(slotKey) {}

    // The plan to run now, in any thread. Notes that it runs, for whoever looks for a better one.
    [[nodiscard]] fftwf_plan_s* use()
    {
        if (m_search.load(std::memory_order_relaxed) == Wanted)
            askForSearch();
        if (!inUse.load(std::memory_order_relaxed))
            inUse.store(true, std::memory_order_relaxed);
        return m_current.load(std::memory_order_acquire);
    }

    const PlanKey key;
    // Set by every transform, cleared by the search while it waits for a quiet moment. Read before it
    // is written, so that the threads of a picture do not pass its cache line around.
    static std::atomic<bool> inUse;

private:
    friend class PlanCache;
    // Of a better plan: it starts only when this one has run, and once in a process.
    enum Search { NotWanted, Wanted, Asked };
    void askForSearch();

    std::atomic<fftwf_plan_s*> m_current{nullptr};
    std::atomic<Search> m_search{NotWanted};
    // Under the cache's lock.
    fftwf_plan_s* m_estimated = nullptr;
    fftwf_plan_s* m_measured = nullptr;
};

class PlanCache
{
public:
    // Lives as long as the process, as transforms may run until then.
    static PlanCache& instance();
    PlanCache();

    // The slot of the key, with the plan that the planning in force asks for.
    PlanSlot* slot(const PlanKey& key);
    [[nodiscard]] PlanKind inForce(const PlanSlot& slot);

    void setPlanning(Planning planning);
    void setWisdomFile(const QString& path);
    // The search for this slot is over: `text` is FFTW's text of a better plan, or empty.
    void settle(PlanSlot& slot, const QByteArray& text);
    void keep();

private:
    void choose(PlanSlot& slot);
    void chooseForUpgrade(PlanSlot& slot);

    Mutex m_lock; // everything below, and FFTW's planner for all that this program plans
    Planning m_planning = Planning::Estimate;
    std::map<PlanKey, std::unique_ptr<PlanSlot>> m_slots;
    QString m_wisdomFile;
    std::set<QString> m_settled; // names of plans whose search is over, in this start or an earlier one
};
