// The fixture of the system tests: an empty gateway with its card in.
#pragma once

#include <gtest/gtest.h>

#include <ctime>

#include "support/configs.h"
#include "support/files.h"
#include "support/logfiles.h"
#include "system/support/serviceprocess.h"

namespace test {

// What it is for: before each test the gateway's places are empty and the card is in. It refuses to
// run outside the sandbox.
class SystemTest : public ::testing::Test {
 protected:
  void SetUp() override;

  // 2024-03-07 at the given time of day, in the test's zone, eight hours east: Unix time.
  static std::time_t At(int hour, int minute, int second = 0);
  // Midnight of another day there.
  static std::time_t On(int year, int month, int day);
};

}  // namespace test
