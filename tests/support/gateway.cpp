#include "support/gateway.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/clock.h"
#include "support/logs.h"
#include "util/paths.h"

namespace fs = std::filesystem;

namespace test {
namespace {

void Empty(const fs::path& directory) {
  if (!fs::exists(directory)) return;
  for (const auto& entry : fs::directory_iterator(directory)) fs::remove_all(entry.path());
}

}  // namespace

void WriteFile(const std::string& path, std::string_view content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << content;
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
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

void GatewayTest::SetUp() {
  ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
  setenv("TZ", "CST-8", 1);
  tzset();
  OnPause({});
  SetTime(LocalTimeOf(2024, 3, 7, 12));
  DiscardLogs();
  Empty("/tessel");
  Empty(paths::kCardMount);
  WriteFile(paths::kCardDevice, "");
  ForgetPauses();
}

void GatewayTest::TearDown() {
  OnPause({});
}

}  // namespace test
