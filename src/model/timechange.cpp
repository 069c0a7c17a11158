#include "model/timechange.h"

#include "model/documentlock.h"
#include "model/worksteps.h"

#include <algorithm>

TimeChange::TimeChange(TimeChangeKind kind, const Range& range) : m_kind(kind), m_range(range) {}

void TimeChange::add(const ILayerPtr& layer)
{
    if (!layer || m_range.isEmpty())
        return;
    QList<ILayerPtr> all{layer};
    all << layer->children(ChildrenAll);
    for (const ILayerPtr& one : all) {
        const auto part = std::dynamic_pointer_cast<Layer>(one);
        if (!part || part->type() == LayerTypeRegion || m_seen.contains(part.get()))
            continue;
        m_seen.insert(part.get());
        m_parts.push_back({part, {}});
    }
}

bool TimeChange::reachesAny() const
{
    return std::any_of(m_parts.begin(), m_parts.end(), [this](const Part& part) {
        if (part.layer->type() != LayerTypeLayer)
            return false;
        const Layer::TimePlan plan = part.layer->planTimeChange(m_kind, m_range);
        return plan.isChange() || plan.isTooFar;
    });
}

bool TimeChange::run(const Progress& progress)
{
    m_withoutRoom.reset();
    const bool done = prepare(progress) && exchange();
    if (!done)
        for (const Part& part : m_parts)
            part.layer->dropUnusedBackup();
    m_parts.clear(); // with the old samples, or with the new ones that are not needed
    m_seen.clear();
    return done;
}

bool TimeChange::prepare(const Progress& progress)
{
    int64_t total = 0;
    for (Part& part : m_parts) {
        part.plan = part.layer->planTimeChange(m_kind, m_range);
        if (part.plan.isTooFar) {
            part.layer->setTooFar();
            m_withoutRoom = part.layer;
            return false;
        }
        total += part.layer->workOf(part.plan);
    }
    WorkSteps steps(progress, total);
    bool goesOn = true;
    const SampleStore::Work goOn = [&](int64_t bytes) { return goesOn = steps.moved(bytes); };
    for (Part& part : m_parts)
        if (!part.layer->prepareTimeChange(part.plan, goOn)) {
            if (goesOn && part.layer->hasStorageError())
                m_withoutRoom = part.layer;
            return false;
        }
    return true;
}

bool TimeChange::exchange()
{
    const WriteLocker document(documentLock());
    for (const Part& part : m_parts)
        if (part.layer->m_contentTime != part.plan.contentTime)
            return false;
    for (Part& part : m_parts)
        if (part.layer->type() == LayerTypeGroup)
            part.layer->stampContent();
        else
            part.layer->adoptTimeChange(part.plan);
    return true;
}
