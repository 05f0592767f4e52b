// Counts the heap allocations of the measured code.
#pragma once

#include <cstddef>

// Allocations and reallocations since the process started.
std::size_t Allocations();
