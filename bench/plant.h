// A plant of any size. Its points are spread over channels and devices.
#pragma once

#include <cstdint>
#include <vector>

#include "config/channelrecords.h"
#include "packfile/records.h"

// DataIds of `points` points, 100 per device and 10 devices per channel, in rising order.
std::vector<std::uint32_t> PlantPoints(std::size_t points);
// The catalogue and the values of those points.
MAP_GROUP_ATTR PlantCatalogue(const std::vector<std::uint32_t>& points);
Real_Data_Struct PlantValues(const std::vector<std::uint32_t>& points);
// The value of the point with that place in the plant.
double PlantValue(std::size_t place);
