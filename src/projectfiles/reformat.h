// What a document's change of format shall be, as the user says it.
#pragma once

#include "model/types/matrix.h"
#include "model/types/samplingformat.h"
#include "projectfiles/formatdialog.h"

#include <optional>

class QWidget;

struct Reformat
{
    SamplingFormat format;
    Matrix matrix;            // of the present channels to the new ones
    bool reinterpret = false; // the samples stay; matrix is the identity
};

// The dialogs from the format to the gains of the channels, as far as they are needed: another layout
// asks for its channels and for the gains. Nothing when the user cancels any of them. GUI thread.
[[nodiscard]] std::optional<Reformat> askReformat(const SamplingFormat& present, QWidget* parent,
                                                  FormatDialog::Purpose purpose);

// Lets the user name the channels of `format`. False: cancelled, `format` as before.
[[nodiscard]] bool askChannels(SamplingFormat& format, QWidget* parent);
