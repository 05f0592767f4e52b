// Counts the heap allocations of the measured code. Those inside of libraries are not counted.
#pragma once

#include <cstddef>

// Allocations and reallocations of the calling thread since it started.
std::size_t Allocations();
