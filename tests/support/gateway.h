// The gateway's own paths (configuration, SD card, logs), which scripts/sandbox makes private.
#pragma once

#include <gtest/gtest.h>

#include "support/files.h"

namespace test {

// The base of every test that uses the gateway's paths. It refuses to run outside the sandbox.
// Before each test the paths are empty, the card is in, the clock shows 2024-03-07 12:00:00 in a
// zone eight hours east, no pause is recorded and no hook is set.
class GatewayTest : public ::testing::Test {
 protected:
  GatewayTest();  // sets the zone before a test's members need it
  void SetUp() override;
  void TearDown() override;
};

}  // namespace test
