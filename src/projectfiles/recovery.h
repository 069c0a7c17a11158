// What the start does about sessions that crashed.
#pragma once

#include "projectfiles/sessionfolder.h"

#include <functional>

class QWidget;

// Looks for manifests of crashed sessions, asks whether to recover them (or to clear the folder), and
// then, whatever the answer was, clears away what is older than the property `sessiondays` tells. Another
// process that is at the same question keeps this one from all of it. GUI thread; the question runs the
// event loop.
//
// `recover` opens the manifests; those that it could open are gone afterwards, the others stay.
void recoverSessions(QWidget* parent, const SessionFolder& folder,
                     const std::function<void(const QStringList& manifests)>& recover);
