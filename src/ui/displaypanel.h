// The dock panel that edits how the project is analysed and shown.
#pragma once

#include "display/viewstate.h"

#include <QWidget>

#include <functional>
#include <vector>

class QAction;
class QComboBox;
class QLabel;
class QLineEditExt;
class QMenu;
class QPushButton;
class QToolButton;
class QVBoxLayout;

// One group of controls for each kind of setting, in a fixed order. Each has a button that takes it back
// to the defaults, and an entry in the panel's menu that shows or hides it; groups whose property
// enable... is false are never shown. The panel posts what the user sets and follows what events tell; the
// project keeps the values. GUI thread.
class DisplayPanel : public QWidget, public ViewState
{
    Q_OBJECT

public:
    explicit DisplayPanel(QWidget* parent = nullptr);

    // Of a group by its title ("FFT Size"): shown or hidden.
    [[nodiscard]] QAction* groupAction(const QString& title) const;
    // Sizes that the field "FFT Size" offers: four to the octave.
    [[nodiscard]] static std::vector<double> frameSizes(int smallest, int largest);

    void displayEnableEvent(EventId id, const bool& on) override;
    void displayValueEvent(EventId id, const float& value) override;
    void colormapEvent(EventId id, const int32_t& colormap) override;
    void displacementEvent(EventId id, const Displacement& displacement) override;

public Q_SLOTS:
    void toggleCompositeView();
    // "Increase" goes towards the top of the list, here and for the window.
    void increaseColormap();
    void decreaseColormap();
    void increaseGamma();
    void decreaseGamma();
    void increaseLowestAmplitude();
    void decreaseLowestAmplitude();
    void increaseHighestAmplitude();
    void decreaseHighestAmplitude();
    void increaseSelectionOpacity();
    void decreaseSelectionOpacity();
    void increaseSize();
    void decreaseSize();
    void increaseWindow();
    void decreaseWindow();
    void increaseResolution();
    void decreaseResolution();
    void increaseSharpening();
    void decreaseSharpening();
    // Every group back to its defaults.
    void resetAll();
    // Every group shown or hidden as at the first start.
    void resetVisibility();

protected:
    void viewStateChanged() override;

private:
    struct Group
    {
        QWidget* box;
        QAction* shown;
        const char* enableProperty;
        const char* showProperty;
        std::function<void()> reset;
    };

    // displaypanelgroups.cpp
    void buildColors();
    void buildAmplitude();
    void buildBrightness();
    void buildOpacity();
    void buildWindow();
    void buildSize();
    void buildResolution();
    void buildWave();
    void buildTime();
    void buildFrequency();
    void buildRelief();
    QWidget* addGroup(int row, std::function<void()> reset);
    QLineEditExt* addField(QWidget* body, const QString& label, const QString& tip = {});

    void postTransform(const TransformSettings& settings);
    void setResolution(double value);
    void postSharpening(double percent);
    // What was typed: made positive and cut to the project; the whole project where nothing is left.
    void enterArea(Area area);
    void enterPower(double low, double high);

    std::vector<Group> m_groups;

    // Children.
    QVBoxLayout* m_column;
    QMenu* m_menu;
    QPushButton* m_composite = nullptr;
    QComboBox* m_colormap = nullptr;
    QLineEditExt* m_lowest = nullptr;
    QLineEditExt* m_highest = nullptr;
    QLineEditExt* m_brightness = nullptr;
    QLineEditExt* m_opacity = nullptr;
    QComboBox* m_window = nullptr;
    QLineEditExt* m_size = nullptr;
    QLabel* m_sizeText = nullptr;
    QLineEditExt* m_resolution = nullptr;
    QLineEditExt* m_refinement = nullptr;
    QLineEditExt* m_wave[3] = {}; // low, extent, high; so too below
    QLineEditExt* m_time[3] = {};
    QLineEditExt* m_frequency[3] = {};
    QLineEditExt* m_relief[2] = {}; // horizontal, vertical
};
