// The names of a data file and the command that compresses it.
#include <gmock/gmock.h>

#include <ctime>
#include <string>

#include "packfile/archive.h"

namespace {

static_assert(sizeof(DataFileNames::name) == 63);
static_assert(sizeof(DataFileNames::text) == 127);
static_assert(sizeof(DataFileNames::archive) == 127);
static_assert(sizeof(DataFileNames::command) == 255);

std::tm Moment() {
  std::tm moment{};
  moment.tm_year = 124;
  moment.tm_mon = 0;
  moment.tm_mday = 2;
  moment.tm_hour = 3;
  moment.tm_min = 4;
  moment.tm_sec = 5;
  return moment;
}

TEST(DataFileNames, AreMadeOfPrefixAndStamp) {
  const DataFileNames names = NameDataFile('S', "/d", Moment());

  EXPECT_STREQ(names.name, "S20240102030405");
  EXPECT_STREQ(names.text, "/d/S20240102030405.dat");
  EXPECT_STREQ(names.archive, "/d/S20240102030405.tar.gz");
  EXPECT_STREQ(names.command,
               "cd /d && tar -zcf S20240102030405.tar.gz S20240102030405.dat > /dev/null 2>&1; "
               "echo $?");
}

TEST(DataFileNames, TakeTheirPrefixAsGiven) {
  EXPECT_STREQ(NameDataFile('T', "/d", Moment()).name, "T20240102030405");
}

TEST(DataFileNames, OfALongDirectoryAreCut) {
  const std::string directory = "/" + std::string(300, 'd');

  const DataFileNames names = NameDataFile('S', directory.c_str(), Moment());

  EXPECT_STREQ(names.name, "S20240102030405");
  EXPECT_EQ(names.text, directory.substr(0, 126));
  EXPECT_EQ(names.archive, directory.substr(0, 126));
  EXPECT_EQ(names.command, ("cd " + directory).substr(0, 254));
}

}  // namespace
