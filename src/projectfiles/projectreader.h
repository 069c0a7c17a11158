// What the readers of both forms have in common.
#pragma once

#include "model/worksteps.h"
#include "projectfiles/damagelist.h"
#include "projectfiles/layerfactory.h"
#include "projectfiles/projecttree.h"

#include <optional>

// A layer or group as a file tells it. The format begins as that of the project, and takes over what
// makes sense of the file's; the mask stays the project's.
struct ReadNode
{
    explicit ReadNode(const Project& project) : format(project.format()) {}

    LayerHeader header;
    SamplingFormat format;
    int64_t start = 0;
    std::optional<int64_t> length; // of the part of the sample file that counts
    std::optional<int64_t> first;  // a stretch of a sample file that may be another layer's: where it begins
    bool isOpen = true;
    int64_t count = 0; // of a group
};

// Builds a project from what one of the readers finds. All that is bounded is bounded here.
class ProjectReader
{
public:
    // Items of a file: what is more is left out, and told.
    static constexpr int maxMarkers = 1000000; // both kinds together
    static constexpr int maxTags = 100000;
    static constexpr int64_t maxTextUnits = 16 << 20; // UTF-16 units of all texts together

    ProjectReader(LayerFactory& factory, const Progress& progress, int64_t bytes)
        : m_factory(factory),
          m_steps(progress, bytes)
    {
    }

    // False for a format that makes no sense. Nothing else is called before it has answered true.
    [[nodiscard]] bool begin(SamplingFormat format);
    [[nodiscard]] Project* project() { return m_project.get(); }

    using Source = std::function<LayerFactory::Made(const LayerFactory::Wanted&)>;
    // False when the read must end.
    [[nodiscard]] bool addLayer(const ReadNode& node, const Source& source);
    void addGroup(const ReadNode& node);
    void addTag(const QString& tag, const QString& text);
    void addMarker(const Marker& marker);
    void addSpectralMarker(const SpectralMarker& marker);
    // How many units of a text of `units` may be taken; less than all is told as damage.
    [[nodiscard]] int takeText(int64_t units);

    [[nodiscard]] WorkSteps& steps() { return m_steps; }
    [[nodiscard]] DamageList& damage() { return m_damage; }
    [[nodiscard]] int layerCount() const { return m_layers; }
    [[nodiscard]] bool hasNodes() const { return m_tree && !m_tree->isEmpty(); }

    [[nodiscard]] static ProjectReadResult refusal(const QString& title, const QString& text,
                                                   const QString& cause = {});
    // The file cannot be opened.
    [[nodiscard]] static ProjectReadResult unreadable(const QString& cause);
    // A refusal with the file named in its cause; anything else as it is.
    [[nodiscard]] static ProjectReadResult named(ProjectReadResult result, const QString& path);
    // The project as far as it was read.
    [[nodiscard]] ProjectReadResult finish();
    // When the read had to end.
    [[nodiscard]] ProjectReadResult giveUp();

private:
    // The project's format when the samples can be read as such.
    [[nodiscard]] bool fits(ReadNode& node);
    [[nodiscard]] bool hasRoom();

    LayerFactory& m_factory;
    WorkSteps m_steps;
    ProjectPtr m_project;
    std::optional<ProjectTree> m_tree;
    DamageList m_damage;
    MarkerList m_markers;
    SpectralMarkerList m_spectralMarkers;
    int64_t m_textUnits = 0;
    int m_layers = 0;
    QString m_noRoom; // why the samples could not be stored
};
