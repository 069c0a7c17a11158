// A document under test with its history, as the program has them on the bus.
#pragma once

#include "model/history.h"
#include "model/modeltest.h"
#include "model/project.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <memory>

#include <QCoreApplication>
#include <QFileInfo>
#include <QVariant>

namespace modeltest {

// The owner of the project on the bus: posts its state, and stores what the bus tells.
struct Owner : IEvent
{
    explicit Owner(const ProjectPtr& shown) : IEvent(QStringLiteral("Owner")), project(shown) {}

    void post()
    {
        postEvent(this, EventId::SamplingFormatChange, project->format(), this);
        postEvent(this, EventId::LayerRootChange, project->root(), this);
        postEvent(this, EventId::LayerActivate, project->activeLayer(), this);
        postEvent(this, EventId::SelectionChange, project->selection, this);
        postEvent(this, EventId::MetaDataListChange, project->metadata, this);
        postEvent(this, EventId::MarkerListChange, project->markerList(), this);
        postEvent(this, EventId::SpectralMarkerListChange, project->spectralMarkerList(), this);
        postEvent(this, EventId::HistoryListChange, project->history(), this);
        postEvent(this, EventId::HistoryActivate, project->historyIndex(), this);
    }
    void note(EventId id) { heard << id; }

    void layerEvent(EventId id, const ILayerPtr& layer) override
    {
        note(id);
        if (id == EventId::LayerActivate)
            project->setActiveLayer(layer);
        else
            updated << layer;
    }
    void metaDataEvent(EventId id, const MetaDataList& tags) override
    {
        note(id);
        project->metadata = tags;
    }
    void markersEvent(EventId id, const MarkerList& markers) override
    {
        note(id);
        project->setMarkerList(markers);
    }
    void spectralMarkersEvent(EventId id, const SpectralMarkerList& markers) override
    {
        note(id);
        project->setSpectralMarkerList(markers);
    }
    void selectionEvent(EventId id, const Selection& selection) override
    {
        note(id);
        project->selection = selection;
    }
    void historyListEvent(EventId id, const QList<HistoryEntry>& states) override
    {
        note(id);
        project->setHistory(states, states.size() - 1);
    }
    void historyActivateEvent(EventId id, const int32_t& row) override
    {
        note(id);
        project->setHistoryIndex(row);
    }

    ProjectPtr project;
    QList<EventId> heard;
    QList<ILayerPtr> updated;
};

inline void setProperty(const char* key, const QVariant& value)
{
    QCoreApplication::instance()->setProperty(key, value);
}

// A document whose edits go the way of the program's: change, tell, record.
struct Session
{
    explicit Session(const SamplingFormat& format = realFormat()) : owner(std::make_shared<Project>(format))
    {
        QObject::connect(&history, &History::storageFailed, [this](const QString& told) { words << told; });
        project().resetHistory("New");
        owner.post();
    }
    [[nodiscard]] Project& project() { return *owner.project; }
    [[nodiscard]] LayerGroupPtr tree() { return project().layers(); }
    LayerPtr add(const std::vector<float>& samples, const LayerGroupPtr& group = nullptr)
    {
        const LayerPtr layer = layerOf(project().format(), samples);
        EXPECT_TRUE((group ? group : tree())->appendChild(layer));
        return layer;
    }
    // A layer that was there when the document was opened.
    LayerPtr ground(const std::vector<float>& samples)
    {
        return ground(layerOf(project().format(), samples));
    }
    LayerPtr ground(const LayerPtr& layer)
    {
        EXPECT_TRUE(tree()->appendChild(layer));
        project().resetHistory("New");
        owner.post();
        return layer;
    }
    void write(const ILayerPtr& layer, int64_t position, const std::vector<float>& values)
    {
        EXPECT_TRUE(layer->write(values.data(), {position, int64_t(values.size())}, 0, true));
        tell(layer);
    }
    static void tell(const ILayerPtr& layer)
    {
        postEvent(nullptr, EventId::LayerContentUpdate, layer, nullptr);
    }
    void record(const QString& name = QStringLiteral("Edit"))
    {
        HistoryEntry entry;
        entry.name = name;
        postEvent(nullptr, EventId::HistoryRecord, entry, nullptr);
        owner.heard.clear();
        owner.updated.clear();
    }
    [[nodiscard]] QStringList rows() const
    {
        QStringList names;
        for (const HistoryEntry& entry : history.states())
            names << entry.name;
        return names;
    }

    History history;
    Owner owner;
    QStringList words; // of storageFailed
};

// Names of the files that states and layers hold.
inline QStringList filesOf(const QList<HistoryEntry>& states, const QList<ILayerPtr>& layers)
{
    QStringList paths;
    const auto add = [&](const ILayerPtr& layer) {
        if (layer && !layer->filePath().isEmpty())
            paths << QFileInfo(layer->filePath()).fileName();
    };
    for (const ILayerPtr& layer : layers)
        add(layer);
    for (const HistoryEntry& entry : states)
        for (const LayerRecord& record : entry.layerRecords) {
            add(record.before);
            add(record.after);
        }
    return paths;
}

} // namespace modeltest
