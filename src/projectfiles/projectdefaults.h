// The settings that a new document starts with.
#pragma once

#include "model/project.h"

// A document without layers, its units, view and transform as the default properties of the
// application say. Words and numbers that make no sense give the defaults of their tables.
[[nodiscard]] ProjectPtr makeProject(const SamplingFormat& format);
