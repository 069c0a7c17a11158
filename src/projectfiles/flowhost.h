// What the flows of whole documents need of the tabs that they serve.
#pragma once

#include "model/project.h"

#include <functional>

#include <QList>

class IEvent;
class IFilePlugin;
class QWidget;

struct FlowHost
{
    QWidget* window; // parent of dialogs
    QList<IFilePlugin*> plugins;
    IEvent* sender; // of events; it is skipped in their delivery
    // Shows a document that has no tab yet; null brings that of the current tab back.
    std::function<void(const ProjectPtr&)> show;
};
