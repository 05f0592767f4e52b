// Fixed text fields, bounded printing, and the last part of a path.
#include "util/text.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>

namespace {

TEST(CopyText, CopiesATextThatFits) {
  char field[8] = "#######";

  util::CopyText(field, "gateway");

  EXPECT_STREQ(field, "gateway");
}

TEST(CopyText, CutsSilentlyToOneCharacterLessThanTheField) {
  char field[8] = "";

  util::CopyText(field, "gateways");

  EXPECT_STREQ(field, "gateway");
}

TEST(CopyText, TerminatesAShortTextInAFieldThatWasLonger) {
  char field[8] = "gateway";

  util::CopyText(field, "SD");

  EXPECT_STREQ(field, "SD");
}

TEST(CopyText, EmptiesTheFieldForTheEmptyText) {
  char field[8] = "gateway";

  util::CopyText(field, "");

  EXPECT_STREQ(field, "");
}

TEST(CopyText, EmptiesTheFieldForATextWithoutAnAddress) {
  char field[8] = "gateway";

  util::CopyText(field, std::string_view());

  EXPECT_STREQ(field, "");
}

TEST(CopyText, KeepsOnlyTheTerminatorInAFieldOfOne) {
  char field[1] = {'#'};

  util::CopyText(field, "gateway");

  EXPECT_EQ(field[0], '\0');
}

TEST(CopyText, TakesNoMoreThanTheViewHolds) {
  char field[8] = "";

  util::CopyText(field, std::string_view("gateway").substr(0, 4));

  EXPECT_STREQ(field, "gate");
}

TEST(CopyText, WritesNothingBehindTheStatedSize) {
  char field[8] = "#######";

  util::CopyText(field, 4, "gateway");

  EXPECT_EQ(std::string_view(field, 8), std::string_view("gat\0###\0", 8));
}

TEST(CopyText, CopiesAPartOfTheFieldOntoItself) {
  char field[8] = "gateway";

  util::CopyText(field, std::string_view(field).substr(4));

  EXPECT_STREQ(field, "way");
}

TEST(PrintText, PrintsLikePrintf) {
  char field[16] = "";

  util::PrintText(field, sizeof(field), "%02d/%s", 7, "log");

  EXPECT_STREQ(field, "07/log");
}

TEST(PrintText, CutsSilentlyAndTerminatesWithinTheStatedSize) {
  char field[8] = "#######";

  util::PrintText(field, 5, "%s", "gateway");

  EXPECT_EQ(std::string_view(field, 8), std::string_view("gate\0##\0", 8));
}

TEST(Format, PrintsLikePrintf) {
  EXPECT_EQ(util::Format("%04x|%-3d|%s", 0x103U, 5, "AI"), "0103|5  |AI");
}

TEST(Format, GivesTheEmptyTextForAnEmptyResult) {
  EXPECT_EQ(util::Format("%s", ""), "");
}

TEST(Format, KeepsALongResultWhole) {
  const std::string text(100'000, 'x');

  EXPECT_EQ(util::Format("<%s>", text.c_str()), "<" + text + ">");
}

struct BaseNameRow {
  const char* path;
  const char* name;
};

class BaseName : public ::testing::TestWithParam<BaseNameRow> {};

TEST_P(BaseName, IsWhatFollowsTheLastSlash) {
  EXPECT_EQ(util::BaseName(GetParam().path), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, BaseName,
    ::testing::Values(BaseNameRow{"/media/7/S20240307.tar.gz", "S20240307.tar.gz"},
                      BaseNameRow{"S20240307.tar.gz", "S20240307.tar.gz"},
                      BaseNameRow{"/media/", ""}, BaseNameRow{"/", ""}, BaseNameRow{"", ""}));

}  // namespace
