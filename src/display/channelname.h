// The name at the left of a channel's row.
#pragma once

#include "model/types/samplingformat.h"

#include <QLabel>

class QMenu;

// Short on sight, in full as tool tip; names that are too long for the column are cut with dots. Its
// colour tells a muted or a solo channel, its context menu (mouse or menu key) changes that.
class ChannelName : public QLabel
{
    Q_OBJECT

public:
    ChannelName(const SamplingFormat& format, int channel, QWidget* parent);

    void setMode(bool enabled, bool solo);

Q_SIGNALS:
    void muteToggled();
    void soloToggled();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void showState(const QString& state);

    QString m_short;
    QString m_full; // name of the channel
    bool m_enabled = true;
    bool m_solo = false;
};
