// What the data files are made of.
#pragma once

#include <cstdint>
#include <map>

// Live values: DataId -> current value, in rising DataId.
using Real_Data_Struct = std::map<std::uint32_t, double>;
