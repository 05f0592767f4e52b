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
  std::filesystem::remove_all(paths::kCardDevice);
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
  date.tm_isdst = -1;
  return std::mktime(&date);
}

void ConnectedTest::SetUp() {
  SystemTest::SetUp();
  WriteEmptyPlant();
  SystemFile(m_cloud.Port()).Write();
}

std::vector<cloud::Exchange> ConnectedTest::Exchanges(cloud::Endpoint endpoint) const {
  auto exchanges = m_cloud.Exchanges();
  std::erase_if(exchanges, [=](const auto& exchange) { return exchange.endpoint != endpoint; });
  return exchanges;
}

std::vector<std::string> ConnectedTest::FileNames(cloud::Endpoint endpoint) const {
  std::vector<std::string> names;
  for (const auto& exchange : Exchanges(endpoint)) names.push_back(exchange.fileName);
  return names;
}

}  // namespace test
