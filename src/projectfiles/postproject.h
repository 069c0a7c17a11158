// Tells everybody the whole state of a project.
#pragma once

class IEvent;
class Project;

// Posts the state event by event, `skip` being the listener that knows it already: first the format,
// transform, units and layers, so that the views can make sense of what follows, at last the area.
void postProject(const Project& project, IEvent* skip);
