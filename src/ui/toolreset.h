// "Reset All Tools": what the tools did to the view, and their options, back to the beginning.
#pragma once

#include "model/events.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QVariant>

class ChannelsDisplay;
class QWidget;

// The view of the project in front is changed as the tools themselves change it: no state of the history, and
// nothing without a project. GUI thread.
class ToolReset : public QObject, public IEvent
{
    Q_OBJECT

public:
    ToolReset(ChannelsDisplay& display, QObject* parent);

    // Options of a tool, as they are at the beginning: number boxes, sliders, lists and switches, with their
    // values now, or with that in a control's property "factory". A control with the property "document"
    // shows the document and is no option. Other controls stay as they are.
    void remember(QWidget* page);

public Q_SLOTS:
    void resetAll();
    // The transport to the start of the project.
    void resetTimeCursor();
    // No relief.
    void reset3D();
    // The view to the start of time and band, as large as it is.
    void resetPan();
    // The whole time, the whole band, waveforms in full height.
    void resetZoom();
    // The options of all tools.
    void resetSettings();

private:
    struct Option
    {
        QPointer<QWidget> control;
        QVariant value;
    };

    ChannelsDisplay& m_display;
    QList<Option> m_options;
};
