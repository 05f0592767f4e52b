// What is true of every channel catalogue, whatever its files contain.
#pragma once

#include "config/channelset.h"

namespace fuzz {

// Expects terminated texts, every record under its own keys, and every point in both maps.
void CheckCatalogue(CChannelSet& catalogue);

}  // namespace fuzz
