#include "spectral/primitives/plancache.h"

#include "spectral/primitives/plansearch.h"

#include <fftw3.h>

#include <cstdlib>
#include <mutex>

namespace {

std::atomic<int64_t> plannerCalls{0};

// A planner call; under the cache's lock. `flags` say how hard to look. Null only for a plan that is
// asked of the wisdom alone.
fftwf_plan makePlan(const PlanKey& key, unsigned flags)
{
    ++plannerCalls;
    flags |= FFTW_PRESERVE_INPUT;
    const int sign = key.direction == DftDirection::Forward ? FFTW_FORWARD : FFTW_BACKWARD;
    // Measuring writes to the arrays; other plans only look at their alignment.
    ArrayTemplate<Complex> spectrum(key.length), other(key.length);
    auto* const first = reinterpret_cast<fftwf_complex*>(spectrum.data());
    auto* const second = reinterpret_cast<fftwf_complex*>(other.data());
    if (key.kind == DftKind::Complex)
        return fftwf_plan_dft_1d(key.length, first, second, sign, flags);
    auto* const reals = reinterpret_cast<float*>(second);
    if (key.direction == DftDirection::Forward)
        return fftwf_plan_dft_r2c_1d(key.length, reals, first, flags);
    return fftwf_plan_dft_c2r_1d(key.length, first, reals, flags);
}

} // namespace

QString PlanKey::name() const
{
    return QStringLiteral("%1 %2 %3")
        .arg(QLatin1String(kind == DftKind::Real ? "real" : "complex"),
             QLatin1String(direction == DftDirection::Forward ? "forward" : "inverse"))
        .arg(length);
}

std::atomic<bool> PlanSlot::inUse{false};

void PlanSlot::askForSearch()
{
    Search expected = Wanted;
    if (m_search.compare_exchange_strong(expected, Asked))
        PlanSearch::instance().request(*this);
}

PlanCache& PlanCache::instance()
{
    static PlanCache& cache = *std::make_unique<PlanCache>().release();
    return cache;
}

PlanCache::PlanCache()
{
    fftwf_make_planner_thread_safe();
}

PlanSlot* PlanCache::slot(const PlanKey& key)
{
    const std::lock_guard locker(m_lock);
    auto& slot = m_slots[key];
    if (!slot)
        slot = std::make_unique<PlanSlot>(key);
    choose(*slot);
    return slot.get();
}

void PlanCache::choose(PlanSlot& slot)
{
    if (m_planning == Planning::Upgrade)
        return chooseForUpgrade(slot);
    PlanSlot::Search expected = PlanSlot::Wanted;
    slot.m_search.compare_exchange_strong(expected, PlanSlot::NotWanted);
    fftwf_plan_s*& plan = m_planning == Planning::Measured ? slot.m_measured : slot.m_estimated;
    if (!plan)
        plan = makePlan(slot.key, m_planning == Planning::Measured ? FFTW_MEASURE : FFTW_ESTIMATE);
    slot.m_current.store(plan, std::memory_order_release);
}

void PlanCache::chooseForUpgrade(PlanSlot& slot)
{
    if (!slot.m_measured)
        slot.m_measured = makePlan(slot.key, FFTW_MEASURE | FFTW_WISDOM_ONLY);
    if (!slot.m_measured && !slot.m_estimated)
        slot.m_estimated = makePlan(slot.key, FFTW_ESTIMATE);
    PlanSlot::Search expected = PlanSlot::NotWanted;
    if (!slot.m_measured && m_settled.count(slot.key.name()) == 0)
        slot.m_search.compare_exchange_strong(expected, PlanSlot::Wanted);
    slot.m_current.store(slot.m_measured ? slot.m_measured : slot.m_estimated, std::memory_order_release);
}

PlanKind PlanCache::inForce(const PlanSlot& slot)
{
    const std::lock_guard locker(m_lock);
    return slot.m_current.load() == slot.m_measured ? PlanKind::Measured : PlanKind::Estimated;
}

void PlanCache::setPlanning(Planning planning)
{
    const std::lock_guard locker(m_lock);
    m_planning = planning;
}

void PlanCache::setWisdomFile(const QString& path)
{
    const Wisdom wisdom = path.isEmpty() ? Wisdom() : readWisdom(path);
    const std::lock_guard locker(m_lock);
    m_wisdomFile = path;
    if (wisdom.text.isEmpty() || fftwf_import_wisdom_from_string(wisdom.text.constData()) != 0)
        m_settled.insert(wisdom.settled.begin(), wisdom.settled.end());
}

void PlanCache::settle(PlanSlot& slot, const QByteArray& text)
{
    {
        const std::lock_guard locker(m_lock);
        m_settled.insert(slot.key.name());
        if (isWisdomText(text) && fftwf_import_wisdom_from_string(text.constData()) != 0 && !slot.m_measured)
            slot.m_measured = makePlan(slot.key, FFTW_MEASURE | FFTW_WISDOM_ONLY);
        if (slot.m_measured && m_planning == Planning::Upgrade)
            slot.m_current.store(slot.m_measured, std::memory_order_release);
    }
    keep();
}

void PlanCache::keep()
{
    QString file;
    Wisdom wisdom;
    {
        const std::lock_guard locker(m_lock);
        file = m_wisdomFile;
        if (file.isEmpty())
            return;
        for (const QString& name : m_settled)
            wisdom.settled << name;
        char* text = fftwf_export_wisdom_to_string();
        wisdom.text = text;
        std::free(text);
    }
    writeWisdom(file, wisdom); // not under the lock, since it waits for the disk
}

void initializePrimitives()
{
    PlanCache::instance();
}

void setPlanning(Planning planning)
{
    PlanCache::instance().setPlanning(planning);
    if (planning == Planning::Upgrade)
        PlanSearch::instance().allow();
}

void setWisdomFile(const QString& path)
{
    PlanCache::instance().setWisdomFile(path);
}

void keepMeasuredPlans()
{
    PlanCache::instance().keep();
}

int64_t planningCount()
{
    return plannerCalls;
}
