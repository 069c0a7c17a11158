// A document with its history and the editing controller, as the program has them on the bus.
#pragma once

#include "editing/datamanager.h"
#include "model/historysession.h"
#include "model/selectiontest.h"
#include "projectfiles/boxes.h"
#include "ui/guienvironment.h"

#include <cmath>
#include <random>

struct EditSession : modeltest::Session
{
    explicit EditSession(const SamplingFormat& format = modeltest::realFormat(1, 16000))
        : Session(format),
          data(nullptr)
    {
        project().transform = TransformSettings(format.sampleType, WindowType::BlackmanHarris, 512, 8, 2);
        data.clipboardCommands().setPatience(1000000);
        post();
    }
    // Everything that the controller mirrors.
    void post()
    {
        owner.post();
        postEvent(&owner, EventId::ChannelsModeChange, project().channelsMode, &owner);
        postEvent<TransformSettings>(&owner, EventId::TransformChange, project().transform, &owner);
        postEvent(&owner, EventId::TransportPositionChange, project().position(), &owner);
        postEvent(&owner, EventId::LayerRootChange, project().root(), &owner);
    }
    // A layer that was there when the document was opened, and the active one.
    LayerPtr begin(const std::vector<float>& samples, int64_t start = 0)
    {
        const LayerPtr layer = modeltest::layerOf(project().format(), samples, start);
        ground(layer);
        activate(layer);
        return layer;
    }
    void activate(const ILayerPtr& layer)
    {
        project().setActiveLayer(layer);
        postEvent<ILayerPtr>(&owner, EventId::LayerActivate, layer, &owner);
    }
    // As a tool does it, without a state of the history.
    void select(const Selection& selection)
    {
        project().selection = selection;
        postEvent(&owner, EventId::SelectionChange, selection, &owner);
    }
    void select(double start, double length, double low, double high, double fadeX = 0, double fadeY = 0)
    {
        Selection selection;
        selection.add(selectiontest::rectangle(start, low, length, high - low), fadeX, fadeY, false);
        select(selection);
    }
    void moveTransport(int64_t position)
    {
        postEvent(&owner, EventId::TransportPositionChange, position, &owner);
    }
    [[nodiscard]] Selection selection() { return data.desk().state().selection; }
    [[nodiscard]] QString lastStep() const { return history.states().last().name; }

    DataManager data;
    Boxes boxes;
};

// Noise of at most 0.5.
inline std::vector<float> noise(int64_t floats, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> sample(-0.5f, 0.5f);
    std::vector<float> values(static_cast<std::size_t>(floats));
    for (float& value : values)
        value = sample(random);
    return values;
}

// Decibels of the largest difference, relative to full scale.
inline double differenceDb(const std::vector<float>& a, const std::vector<float>& b)
{
    EXPECT_EQ(a.size(), b.size());
    double worst = 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        worst = std::max(worst, std::abs(double(a[i]) - double(b[i])));
    return 20 * std::log10(worst + 1e-300);
}
