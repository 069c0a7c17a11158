// The line at the foot of the window.
#pragma once

#include "display/viewstate.h"
#include "spectral/primitives/transform.h"

#include <QWidget>

class QLabel;

// At the left what the project is (rate, channels, length), at the right what lies under the
// pointer: channel, time, frequency with its note, and level. The level is that of the mix of the
// layers, by a transform of the frame centred at the pointer with the settings of the picture
// (see levelAt). Units follow the project. GUI thread; lives on events alone.
class StatusReadout : public QWidget, public ViewState
{
    Q_OBJECT

public:
    explicit StatusReadout(QWidget* parent = nullptr);
    ~StatusReadout() override;

    // The texts as shown; empty while nothing is under the pointer.
    [[nodiscard]] QString documentText() const;
    [[nodiscard]] QString channelText() const;
    [[nodiscard]] QString timeText() const;
    [[nodiscard]] QString frequencyText() const;
    [[nodiscard]] QString levelText() const;

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void transformEvent(EventId id, const TransformSettings& settings) override;
    void layerEvent(EventId id, const ILayerPtr& layer) override;
    void mousePositionEvent(EventId id, const MouseEvent& mouse) override;

protected:
    void viewStateChanged() override;
    void resizeEvent(QResizeEvent* event) override;

public Q_SLOTS:
    // Nothing is under the pointer.
    void clearPointer();

private:
    // Narrower than this the captions go: the values tell what they are by their units.
    static constexpr int captionWidth = 780; // logical pixels

    struct Field
    {
        QLabel* caption;
        QLabel* value;
    };
    Field addField(const QString& caption, const QString& tip, const QString& widest);
    void showDocument();
    void showPointer();

    Transform m_transform;
    MouseEvent m_mouse;
    bool m_hasPointer = false;
    // Children.
    QLabel* m_document;
    Field m_channel;
    Field m_time;
    Field m_frequency;
    Field m_level;
};
