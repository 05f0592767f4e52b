// The gateway's own places, private to the test through scripts/sandbox: the configuration, the SD
// card, the logs.
#pragma once

#include <gtest/gtest.h>

#include "support/files.h"

namespace test {

// What it is for: every test that touches the gateway's places. It refuses to run outside the
// sandbox; before each test the places are empty, the card is in, the clock stands at
// 2024-03-07 12:00:00 in a zone eight hours east, no pause is recorded and no hook is set.
class GatewayTest : public ::testing::Test {
 protected:
  GatewayTest();  // the zone is set before a test's own members reckon in it
  void SetUp() override;
  void TearDown() override;
};

}  // namespace test
