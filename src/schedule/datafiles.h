// Where the packing workers put their files, and how the ledger learns of them.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

// The directory below `root` for files stamped `when`, by the day of the month in local time.
std::string DirectoryOf(const char* root, std::time_t when);

// Saves packed files as pending rows in their order. Their paths are full and lie below JsonFiles.
// Without files the save still writes rows that wait in memory and drops what is too old.
void RecordPackedFiles(std::int32_t fileType, const std::vector<std::string>& files);
