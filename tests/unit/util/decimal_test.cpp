// Decimal numbers, on every build as on the gateway, where long has 32 bits.
#include <gmock/gmock.h>

#include <cerrno>
#include <limits>
#include <ostream>
#include <string>

#include "util/text.h"

namespace {

constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();

struct DecimalRow {
  const char* text;
  std::int32_t value;
};

void PrintTo(const DecimalRow& row, std::ostream* out) {
  *out << '"' << row.text << "\" is " << row.value;
}

class Decimal : public ::testing::TestWithParam<DecimalRow> {};

TEST_P(Decimal, ReadsWhatTheTextBeginsWith) {
  EXPECT_EQ(util::Decimal(GetParam().text), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Plain, Decimal,
                         ::testing::Values(DecimalRow{"0", 0}, DecimalRow{"7", 7},
                                           DecimalRow{"70000", 70000}, DecimalRow{"000123", 123},
                                           DecimalRow{"010", 10}));
INSTANTIATE_TEST_SUITE_P(Signs, Decimal,
                         ::testing::Values(DecimalRow{"-5", -5}, DecimalRow{"+5", 5},
                                           DecimalRow{"--5", 0}, DecimalRow{"- 5", 0},
                                           DecimalRow{"-", 0}));
INSTANTIATE_TEST_SUITE_P(WhiteSpace, Decimal,
                         ::testing::Values(DecimalRow{"  12", 12},
                                           DecimalRow{"\t\n\v\f\r -12", -12}, DecimalRow{"1 2", 1},
                                           DecimalRow{"   ", 0}));
INSTANTIATE_TEST_SUITE_P(OtherCharacters, Decimal,
                         ::testing::Values(DecimalRow{"", 0}, DecimalRow{"12 s", 12},
                                           DecimalRow{"12.9", 12}, DecimalRow{"1e3", 1},
                                           DecimalRow{"0x1F", 0}, DecimalRow{"5A6", 5},
                                           DecimalRow{"abc", 0}, DecimalRow{"１２", 0}));
INSTANTIATE_TEST_SUITE_P(
    EndsOfTheRange, Decimal,
    ::testing::Values(DecimalRow{"2147483647", kMost}, DecimalRow{"2147483648", kMost},
                      DecimalRow{"4294967296", kMost}, DecimalRow{"9223372036854775807", kMost},
                      DecimalRow{"9223372036854775808", kMost},
                      DecimalRow{"99999999999999999999999", kMost},
                      DecimalRow{"-2147483648", kLeast}, DecimalRow{"-2147483649", kLeast},
                      DecimalRow{"-9223372036854775809", kLeast},
                      DecimalRow{"-99999999999999999999999", kLeast}));

}  // namespace
