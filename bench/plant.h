// A plant of any size. Its points are spread over channels and devices.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "config/channelrecords.h"
#include "packfile/records.h"

inline constexpr char kSerial[] = "XY4567";
inline constexpr std::size_t kPointsPerDevice = 50;

// DataIds of `points` points, kPointsPerDevice a device and 10 devices a channel, in rising order.
std::vector<std::uint32_t> PlantPoints(std::size_t points);
// The catalogue and the values of those points.
MAP_GROUP_ATTR PlantCatalogue(const std::vector<std::uint32_t>& points);
Real_Data_Struct PlantValues(const std::vector<std::uint32_t>& points);
// The value of the point with that place in the plant, as an instrument gives it: 0 to 999.999.
double PlantValue(std::size_t place);

// Writes the channel template of `devices` devices and the definition file that they share. Returns
// the path of the template.
std::string WritePlantFiles(std::size_t devices);

// Writes a whole file and makes its directory.
void WriteFile(const std::string& path, std::string_view content);

// "10000 points"
std::string SizeText(std::int64_t number, const char* unit);
