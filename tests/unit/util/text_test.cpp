#include "util/text.h"

#include <gmock/gmock.h>

#include <limits>
#include <ostream>
#include <string>
#include <string_view>

namespace {

TEST(CopyText, CutsToOneCharacterLessThanTheFieldAndTerminates) {
  char field[8] = "#######";
  util::CopyText(field, "gateway");
  EXPECT_STREQ(field, "gateway");

  util::CopyText(field, "GATEWAYS");
  EXPECT_STREQ(field, "GATEWAY");

  util::CopyText(field, std::string_view("SDcard").substr(0, 2));
  EXPECT_STREQ(field, "SD");

  util::CopyText(field, std::string_view());
  EXPECT_STREQ(field, "");

  char one[1] = {'#'};
  util::CopyText(one, "gateway");
  EXPECT_EQ(one[0], '\0');
}

TEST(CopyText, WritesNothingAfterTheGivenSize) {
  char field[8] = "#######";

  util::CopyText(field, 4, "gateway");

  EXPECT_EQ(std::string_view(field, 8), std::string_view("gat\0###\0", 8));
}

TEST(CopyText, CopiesAPartOfTheFieldOntoItself) {
  char field[8] = "gateway";

  util::CopyText(field, std::string_view(field).substr(4));

  EXPECT_STREQ(field, "way");
}

TEST(PrintText, CutsAndTerminatesWithinTheGivenSize) {
  char field[8] = "#######";
  util::PrintText(field, 5, "%02d/%s", 7, "log");
  EXPECT_EQ(std::string_view(field, 8), std::string_view("07/l\0##\0", 8));
}

TEST(Format, GivesTheWholeResult) {
  const std::string text(100'000, 'x');

  EXPECT_EQ(util::Format("%s", ""), "");
  EXPECT_EQ(util::Format("%04x|%-3d|%s", 0x103U, 5, "AI"), "0103|5  |AI");
  EXPECT_EQ(util::Format("<%s>", text.c_str()), "<" + text + ">");
}

TEST(BaseName, GivesWhatFollowsTheLastSlash) {
  EXPECT_EQ(util::BaseName("/media/7/S20240307.tar.gz"), "S20240307.tar.gz");
  EXPECT_EQ(util::BaseName("S20240307.tar.gz"), "S20240307.tar.gz");
  EXPECT_EQ(util::BaseName("/media/"), "");
  EXPECT_EQ(util::BaseName(""), "");
}

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

TEST_P(Decimal, ReadsTheNumberAtTheStart) {
  EXPECT_EQ(util::Decimal(GetParam().text), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Texts, Decimal,
                         ::testing::Values(DecimalRow{"70000", 70000}, DecimalRow{"010", 10},
                                           DecimalRow{"-5", -5}, DecimalRow{"+5", 5},
                                           DecimalRow{"--5", 0}, DecimalRow{"- 5", 0},
                                           DecimalRow{"\t\n\v\f\r -12", -12}, DecimalRow{"1 2", 1},
                                           DecimalRow{"", 0}, DecimalRow{"12.9", 12},
                                           DecimalRow{"1e3", 1}, DecimalRow{"0x1F", 0},
                                           DecimalRow{"abc", 0}, DecimalRow{"１２", 0}));
INSTANTIATE_TEST_SUITE_P(
    EndsOfTheRange, Decimal,
    ::testing::Values(DecimalRow{"2147483647", kMost}, DecimalRow{"2147483648", kMost},
                      DecimalRow{"4294967296", kMost}, DecimalRow{"99999999999999999999999", kMost},
                      DecimalRow{"-2147483648", kLeast}, DecimalRow{"-2147483649", kLeast},
                      DecimalRow{"-99999999999999999999999", kLeast}));

}  // namespace
