// In which format a file's samples come in.
#pragma once

#include "model/types/samplingformat.h"

class QWidget;

// Settles it with the user: what lies beyond `maxsamplerate` and `maxchannels` is brought down to them
// or refused; then, for a document that has layers, what differs from its format (`project`, else null)
// is converted to that or refused. `format` receives the outcome. False: the user said No. GUI thread.
[[nodiscard]] bool settleImportFormat(SamplingFormat& format, const SamplingFormat* project, QWidget* parent);
