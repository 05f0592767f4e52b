// How large the archive of a snapshot is, and how many points fit into one that is sent.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>

#include "collect/configuration.h"

namespace status {

// Packs a snapshot of all points in memory, as the service does. A point without a value in `live`
// gets a typical one: measured values have up to three digits before and three after the point,
// counters five before it, states are 0 or 1. `live` may be null. 0 without memory.
std::size_t ArchiveBytes(const Configuration& configuration,
                         const std::map<std::uint32_t, double>* live);
// About how many points fit into an archive that is sent, when devices like those that are
// configured are added or left out. It packs several times, so it takes longer. 0 without memory.
std::size_t PointsThatFit(const Configuration& configuration,
                          const std::map<std::uint32_t, double>* live);

// The size of the archive that `tar -zcf` makes of one text file, within about one percent. 0
// without memory.
std::size_t PackedBytes(std::string_view head, std::string_view tail = {});

}  // namespace status
