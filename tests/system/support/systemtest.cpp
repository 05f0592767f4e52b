#include "system/support/systemtest.h"

#include <cstdlib>
#include <filesystem>

#include "util/paths.h"

namespace test {

void SystemTest::SetUp() {
  ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
  setenv("TZ", "CST-8", 1);
  tzset();
  Empty("/tessel");
  Empty(paths::kCardMount);
  std::filesystem::remove_all(paths::kLogDirectory);
  WriteFile(paths::kCardDevice, "");
}

std::time_t SystemTest::At(int hour, int minute, int second) {
  constexpr std::time_t kMidnight = 1709740800;  // 2024-03-07 00:00:00 +08:00
  return kMidnight + hour * 3600 + minute * 60 + second;
}

std::time_t SystemTest::On(int year, int month, int day) {
  std::tm date{};
  date.tm_year = year - 1900;
  date.tm_mon = month - 1;
  date.tm_mday = day;
  return std::mktime(&date);
}

}  // namespace test
