// The dock panel of the channels: which sound, and which take part in edits.
#pragma once

#include "model/events.h"

#include <QWidget>

#include <vector>

class QCheckBox;
class QToolButton;
class QVBoxLayout;

// A row for each channel of the project in front: its name with a tick that selects it for edits, Mute and
// Solo. The same two above the rows stand for all selected channels at once. The project keeps the
// values: what is set here is posted, what events tell is shown. GUI thread.
class ChannelsPanel : public QWidget, public IEvent
{
    Q_OBJECT

public:
    explicit ChannelsPanel(QWidget* parent = nullptr);

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void channelsModeEvent(EventId id, const ChannelsMode& mode) override;

public Q_SLOTS:
    // Of the selected channels. On, unless all of them have it on already.
    void muteSelected();
    void soloSelected();
    void selectAll();

Q_SIGNALS:
    // Another rate or layout of channels is asked for.
    void formatRequested();

private:
    struct Row
    {
        QWidget* box;
        QCheckBox* selected;
        QToolButton* mute;
        QToolButton* solo;
    };

    void addRow(int channel, const QString& name);
    void set(QBitArray ChannelsMode::*bits, int channel, bool on);
    void post();
    void showMode();

    SamplingFormat m_format;
    ChannelsMode m_mode;
    std::vector<Row> m_rows; // by channel
    // Children.
    QToolButton* m_mute;
    QToolButton* m_solo;
    QVBoxLayout* m_column;
};
