// Files of the gateway's places, written and read whole.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace test {

// Whole files, directories made as needed. Reading a missing file gives the empty text.
void WriteFile(const std::string& path, std::string_view content);
std::string ReadFile(const std::string& path);
bool Exists(const std::string& path);
// Names in a directory, sorted, without "." and "..".
std::vector<std::string> List(const std::string& directory);

// Removes what is in a directory, but not the directory; nothing when it does not exist.
void Empty(const std::string& directory);

}  // namespace test
