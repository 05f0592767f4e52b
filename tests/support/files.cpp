#include "support/files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace test {

void WriteFile(const std::string& path, std::string_view content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

std::string ReadFile(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

bool Exists(const std::string& path) {
  return fs::exists(fs::symlink_status(path));
}

std::vector<std::string> List(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

void Empty(const std::string& directory) {
  if (!fs::exists(directory)) return;
  for (const auto& entry : fs::directory_iterator(directory)) fs::remove_all(entry.path());
}

}  // namespace test
