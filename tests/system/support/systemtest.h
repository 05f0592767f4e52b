// The fixtures of the system tests.
#pragma once

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "support/configs.h"
#include "support/files.h"
#include "system/support/plant.h"
#include "system/support/serviceprocess.h"

namespace test {

// An empty gateway with its card in, made before each test. It refuses to run outside the sandbox.
class SystemTest : public ::testing::Test {
 protected:
  void SetUp() override;

  // Unix time of 2024-03-07 at the given time of day in the test's zone, which is eight hours east.
  static std::time_t At(int hour, int minute, int second = 0);
  // Midnight of another day there.
  static std::time_t On(int year, int month, int day);
};

// A gateway with an empty plant and a cloud that accepts whatever is sound. Tests may write another
// plant and another sys.xml over these.
class ConnectedTest : public SystemTest {
 protected:
  void SetUp() override;

  // The exchanges with one endpoint so far, oldest first, and the names of the files in them.
  std::vector<cloud::Exchange> Exchanges(cloud::Endpoint endpoint) const;
  std::vector<std::string> FileNames(cloud::Endpoint endpoint) const;

  static constexpr char kSecondAddress[] = "127.0.0.2";  // where the cloud listens too
  cloud::Simulator m_cloud{
      {.secondAddress = kSecondAddress, .serialNumber = kSerialNumber, .checksHeaders = false}};
};

}  // namespace test
