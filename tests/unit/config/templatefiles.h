// The channel template and a definition file as a test writes them, and what the catalogue made of
// them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/channelset.h"

namespace test {

inline constexpr char kDefinitionFile[] = "/tessel/Config/devices/d.xml";

// A definition file with those type elements.
std::string Definition(const std::string& types);

// Loads a template of that text. Returns what `Open` does.
int OpenText(CChannelSet& catalogue, const std::string& text);
// Loads one device on channel 1, address 3, with that text for a definition file.
int OpenDevice(CChannelSet& catalogue, const std::string& definition);

// What the catalogue holds. An unknown point fails the test.
std::vector<std::uint32_t> DataIds(CChannelSet& catalogue);
const MAP_DEV_ATTR& Devices(CChannelSet& catalogue);
ST_POINTID_ATTR Point(CChannelSet& catalogue, std::uint32_t dataId);

}  // namespace test
