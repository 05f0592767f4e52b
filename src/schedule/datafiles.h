// Where the packing workers put a file, and how the ledger names it: by the day of the month of the
// cycle's stamp.
#pragma once

#include <string>
#include <vector>

#include "historydata/historydata.h"

// The day's directory below `root`, cut at 255 characters.
std::string DayDirectory(const char* root, int day);

// The ledger rows of packed files, in their order: pending, named "<folder>/<day>/<base name>".
std::vector<History_Data_Para> PendingRows(std::int32_t fileType, const char* folder, int day,
                                           const std::vector<std::string>& files);
