// What a command gives to the layers that it makes.
#pragma once

#include "model/ilayer.h"

#include <cstdint>
#include <vector>

// `word`, a blank and a number: one above the largest that the names of `layers` have, counting those that
// begin with the word and a blank, in any case, by their last run of digits. 1 when there is none.
[[nodiscard]] QString nextLayerName(const QString& word, const QList<ILayerPtr>& layers);

// Colours (RGB) that tell layers apart.
[[nodiscard]] const std::vector<uint32_t>& layerPalette();
// The first colour of the palette that the fewest of `layers` have.
[[nodiscard]] uint32_t nextLayerColor(const QList<ILayerPtr>& layers);
