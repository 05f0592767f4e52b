// The texts of numbers are those that printf gives, cut to their fields.
#include "packfile/fields.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>

#include "util/text.h"

namespace {

constexpr int kRounds = 20000;

// Of `kind` 0: any 64 bits, infinities and subnormal numbers among them; 1: what a plant measures;
// 2: half-way between two thousandths, or just beside; 3: any whole number; 4: a long fraction.
double Value(int kind, std::uint64_t bits) {
  const auto number = static_cast<double>(static_cast<std::int64_t>(bits));
  const double thousandths = static_cast<double>(bits % 2'000'001) - 1'000'000;
  switch (kind) {
    case 0:
      return std::bit_cast<double>(bits);
    case 1:
      return thousandths / 1000;
    case 2:
      return std::nextafter((thousandths + 0.5) / 1000, bits % 3 == 0 ? 1e9 : -1e9);
    case 3:
      return number;
    default:
      return std::ldexp(number, -static_cast<int>(bits % 1100));
  }
}

class ValueText : public testing::TestWithParam<int> {};

TEST_P(ValueText, IsThePrintedText) {
  std::mt19937_64 random(11);
  for (int i = 0; i < kRounds; ++i) {
    const std::uint64_t bits = random();
    const double value = Value(GetParam(), bits);
    const std::size_t fieldBytes = i % 2 == 0 ? kValueBytes : kAlarmFieldBytes;
    rapidjson::StringBuffer text;
    DocumentWriter writer(text);
    WriteTimedValue(writer, "T", value, fieldBytes);

    char printed[kAlarmFieldBytes];
    std::snprintf(printed, fieldBytes, "%.3lf", value);
    ASSERT_EQ(text.GetString(), std::string(R"({"timeMark":"T","value":")") + printed + R"("})")
        << bits;
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, ValueText, testing::Range(0, 5));

TEST(PointText, IsThePrintedText) {
  for (std::uint32_t dataId = 0; dataId <= 0xFFFFU; ++dataId) {
    rapidjson::StringBuffer text;
    DocumentWriter writer(text);
    WritePointValue(writer, dataId | 0xABCD0000U, 1.5);

    const std::string printed = util::Format("%04X", dataId);
    ASSERT_EQ(text.GetString(), R"({"pointId":")" + printed + R"(","value":"1.500"})");
  }
}

TEST(HexText, IsThePrintedText) {
  std::mt19937 random(13);
  for (int i = 0; i < kRounds; ++i) {
    const auto number = static_cast<std::uint32_t>(random()) >> (i % 32);
    rapidjson::StringBuffer text;
    DocumentWriter writer(text);
    writer.StartObject();
    WriteHex(writer, "code", number);
    writer.EndObject();

    const std::string printed = util::Format("%04X", number);
    ASSERT_EQ(text.GetString(), R"({"code":")" + printed + R"("})");
  }
}

}  // namespace
