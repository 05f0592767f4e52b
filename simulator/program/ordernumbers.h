// The numbers of the orders of history.
#pragma once

namespace program {

// People's orders have lower numbers. From here on they belong to the faults of the bench.
inline constexpr int kFirstOrderOfFaults = 900'000'000;

}  // namespace program
