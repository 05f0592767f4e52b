// What holds for every catalogue, whatever its files say.
#pragma once

#include "config/channelset.h"

namespace fuzz {

// Every record is terminated and stands under its own keys, every point in both maps.
void LookAtCatalogue(CChannelSet& catalogue);

}  // namespace fuzz
