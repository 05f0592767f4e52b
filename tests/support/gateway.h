// The gateway's own places, private to the test through scripts/sandbox: the configuration, the SD
// card, the logs.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace test {

// Whole files, directories made as needed. Reading a missing file gives the empty text.
void WriteFile(const std::string& path, std::string_view content);
std::string ReadFile(const std::string& path);
bool Exists(const std::string& path);
// Names in a directory, sorted, without "." and "..".
std::vector<std::string> List(const std::string& directory);

// What it is for: every test that touches the gateway's places. It refuses to run outside the
// sandbox; before each test the places are empty, the card is in, the clock stands at
// 2024-03-07 12:00:00 in a zone eight hours east, no pause is recorded and no hook is set.
class GatewayTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
};

}  // namespace test
