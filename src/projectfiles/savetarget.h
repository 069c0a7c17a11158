// Asks under which name something shall be written.
#pragma once

#include "ui/widgets/filechooser.h"

class QWidget;

// Shows the save dialog. A name whose suffix is none that `known` accepts gets the first one of the
// filter chosen, and what stands under that name already, which the dialog has not asked about, may be
// kept by a question. An empty path: cancelled.
[[nodiscard]] filechooser::Choice chooseTarget(QWidget* parent, const filechooser::Request& request,
                                               const std::function<bool(const QString& suffix)>& known);
