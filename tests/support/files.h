// Whole files and directories of the gateway.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace test {

// Writes the whole file and creates its directories.
void WriteFile(const std::string& path, std::string_view content);
// The whole file; the empty text if it is missing.
std::string ReadFile(const std::string& path);
// Whether there is anything at the path. A symbolic link is not followed.
bool Exists(const std::string& path);
// The names in a directory, sorted, without "." and "..".
std::vector<std::string> List(const std::string& directory);
// Removes everything in a directory, but not the directory. The directory may be missing.
void Empty(const std::string& directory);

}  // namespace test
