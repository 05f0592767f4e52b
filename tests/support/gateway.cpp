#include "support/gateway.h"

#include <cstdlib>
#include <ctime>

#include "support/clock.h"
#include "support/logs.h"
#include "util/paths.h"

namespace test {

GatewayTest::GatewayTest() {
  setenv("TZ", "CST-8", 1);
  tzset();
}

void GatewayTest::SetUp() {
  ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
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
