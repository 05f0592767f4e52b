#include "util/text.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace {

using std::string_view_literals::operator""sv;

TEST(CopyText, CutsToOneCharacterLessThanTheFieldAndTerminates) {
  char field[8] = "#######";
  for (const auto& [text, kept] : {std::pair{"gateway"sv, "gateway"},
                                   {"GATEWAYS"sv, "GATEWAY"},
                                   {"SDcard"sv.substr(0, 2), "SD"},
                                   {std::string_view(), ""}}) {
    util::CopyText(field, text);
    EXPECT_STREQ(field, kept);
  }

  char one[1] = {'#'};
  util::CopyText(one, "gateway");
  EXPECT_EQ(one[0], '\0');
}

TEST(CopyText, CopiesAPartOfTheFieldOntoItself) {
  char field[8] = "gateway";

  util::CopyText(field, std::string_view(field).substr(4));

  EXPECT_STREQ(field, "way");
}

TEST(CopyText, WritesNothingAfterTheGivenSizeNorDoesPrintText) {
  char field[8] = "#######";

  util::CopyText(field, 4, "gateway");
  EXPECT_EQ(std::string_view(field, 8), "gat\0###\0"sv);

  util::PrintText(field, 6, "%02d/%s", 7, "log");
  EXPECT_EQ(std::string_view(field, 8), "07/lo\0#\0"sv);
}

TEST(Format, GivesTheWholeResult) {
  const std::string text(100'000, 'x');

  EXPECT_EQ(util::Format("%s", ""), "");
  EXPECT_EQ(util::Format("%04x|%-3d|%s|", 0x103U, 5, text.c_str()), "0103|5  |" + text + "|");
}

TEST(BaseName, GivesWhatFollowsTheLastSlash) {
  EXPECT_EQ(util::BaseName("/media/7/S20240307.tar.gz"), "S20240307.tar.gz");
  EXPECT_EQ(util::BaseName("S20240307.tar.gz"), "S20240307.tar.gz");
  EXPECT_EQ(util::BaseName("/media/"), "");
}

TEST(Decimal, ReadsTheNumberAtTheStart) {
  constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
  constexpr auto kLeast = std::numeric_limits<std::int32_t>::min();

  for (const auto& [text, value] : {std::pair{"70000", 70000},
                                    {"010", 10},
                                    {"-5", -5},
                                    {"+5", 5},
                                    {"--5", 0},
                                    {"- 5", 0},
                                    {"\t\n\v\f\r -12", -12},
                                    {"1 2", 1},
                                    {"12.9", 12},
                                    {"1e3", 1},
                                    {"0x1F", 0},
                                    {"abc", 0},
                                    {"", 0},
                                    {"2147483647", kMost},
                                    {"2147483648", kMost},
                                    {"4294967296", kMost},
                                    {"99999999999999999999999", kMost},
                                    {"-2147483648", kLeast},
                                    {"-2147483649", kLeast},
                                    {"-99999999999999999999999", kLeast}}) {
    EXPECT_EQ(util::Decimal(text), value) << '"' << text << '"';
  }
}

}  // namespace
