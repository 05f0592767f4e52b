// The input of the data files.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "datasource/alarmdata.h"

// Live values: DataId -> current value, in rising DataId.
using Real_Data_Struct = std::map<std::uint32_t, double>;

// Alarm events, in the order in which they were read.
using Alarm_Data_Struct = std::vector<Alarm_Data_Para>;
