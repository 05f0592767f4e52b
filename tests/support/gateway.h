// The gateway's own paths (configuration, SD card, logs), which scripts/sandbox makes private.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/clock.h"
#include "support/files.h"
#include "support/logs.h"
#include "util/paths.h"

namespace test {

// The base of every test that uses the gateway's paths. It refuses to run outside the sandbox.
// Before each test the paths are empty, the card is in, the clock shows 2024-03-07 12:00:00 in a
// zone eight hours east, no pause is recorded and no hook is set.
class GatewayTest : public ::testing::Test {
 protected:
  // Sets the zone before a test's members need it.
  GatewayTest() {
    setenv("TZ", "CST-8", 1);
    tzset();
  }

  void SetUp() override {
    ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
    OnPause({});
    SetTime(LocalTimeOf(2024, 3, 7, 12));
    DiscardLogs();
    Empty("/tessel");
    Empty(paths::kCardMount);
    WriteFile(paths::kCardDevice, "");
    ForgetPauses();
  }

  void TearDown() override { OnPause({}); }
};

}  // namespace test
