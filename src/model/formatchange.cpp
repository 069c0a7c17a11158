#include "model/formatchange.h"

#include "model/documentlock.h"

#include <algorithm>

FormatChange::FormatChange(const SamplingFormat& format, const Matrix& matrix)
    : m_format(format),
      m_matrix(matrix)
{
}

void FormatChange::add(const ILayerPtr& layer)
{
    if (!layer)
        return;
    QList<ILayerPtr> all{layer};
    all << layer->children(ChildrenAll);
    for (const ILayerPtr& one : all) {
        const auto part = std::dynamic_pointer_cast<Layer>(one);
        if (!part || m_seen.contains(part.get()))
            continue;
        m_seen.insert(part.get());
        m_parts.push_back({part, {}});
    }
}

bool FormatChange::run(const Progress& progress)
{
    m_withoutRoom.reset();
    const bool done = prepare(progress) && exchange();
    m_parts.clear(); // with the old samples, or with the new ones that are not needed
    m_seen.clear();
    return done;
}

bool FormatChange::prepare(const Progress& progress)
{
    const auto counts = [](const Part& part) { return part.layer->type() != LayerTypeGroup; };
    const int total = int(std::count_if(m_parts.begin(), m_parts.end(), counts));
    int done = 0;
    bool cancelled = false;
    const std::function<bool()> goOn = [&] {
        cancelled = cancelled || (progress && !progress(done, total));
        return !cancelled;
    };
    for (Part& part : m_parts) {
        if (!part.layer->prepareFormat(m_format, m_matrix, goOn, part.conversion)) {
            if (!cancelled && part.layer->hasStorageError())
                m_withoutRoom = part.layer;
            return false;
        }
        if (!counts(part))
            continue;
        ++done;
        if (!goOn())
            return false;
    }
    return true;
}

bool FormatChange::exchange()
{
    const WriteLocker document(documentLock());
    for (const Part& part : m_parts)
        if (part.layer->m_contentTime != part.conversion.contentTime)
            return false;
    for (Part& part : m_parts)
        part.layer->adoptFormat(m_format, part.conversion);
    return true;
}
