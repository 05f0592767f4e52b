// The bound on what the demand-history reader hands out of one point.
#pragma once

#include <cstddef>

// GetRecallFlag ends with 0 as soon as it has appended more values than these, of 14 days: no order
// may fill the memory with history. An archive that the transport carries holds at most 16,000
// values of a point, even when all of them are the same.
inline constexpr std::size_t kMostRecalledValues = std::size_t{14} * 24 * 60;
