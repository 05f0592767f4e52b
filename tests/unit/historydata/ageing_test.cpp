// Files and rows of 31 days ago and older go.
#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/files.h"
#include "util/paths.h"

using test::Call;
using test::Row;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

// 31 days before the test's 2024-03-07 12:00:00, to the second, and the seconds around it.
constexpr char kJustTooOld[] = "realdata/5/S20240205120000.tar.gz";
constexpr char kOlder[] = "realdata/5/S20240205115959.tar.gz";
constexpr char kJustKept[] = "realdata/5/S20240205120001.tar.gz";
constexpr char kOldAlarm[] = "alarmdata/5/T20240205120000.tar.gz";

std::string Pending(const std::string& filename) {
  return "'" + filename + "',2,0";
}

class LedgerAgeing : public test::LedgerTest {};

TEST_F(LedgerAgeing, DropsAFileOfExactly31DaysAgoAndKeepsOneASecondYounger) {
  test::MakePendingTable({Pending(kOlder), Pending(kJustTooOld), Pending(kJustKept)});
  for (const auto* name : {kOlder, kJustTooOld, kJustKept}) test::WriteDataFile(name);

  const int result = Save({});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre(std::string(kJustKept) + "|2|0"));
  EXPECT_THAT(test::List(test::DataFile("realdata/5")), ElementsAre("S20240205120001.tar.gz"));
}

TEST_F(LedgerAgeing, DropsARowOneSecondLater) {
  test::MakePendingTable({Pending(kJustKept)});
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 12, 0, 1));

  Save({});

  EXPECT_THAT(test::LedgerRows(), IsEmpty());
}

TEST_F(LedgerAgeing, DropsPendingAndAcceptedAlikeOfEveryKind) {
  test::MakePendingTable({"'realdata/5/S20240205120000.tar.gz',2,0",
                          "'realdata/5/S20240205115959.tar.gz',2,1",
                          "'alarmdata/5/T20240205120000.tar.gz',1,0"});
  for (const auto* name : {kOlder, kJustTooOld, kOldAlarm}) test::WriteDataFile(name);

  Save({});

  EXPECT_THAT(test::LedgerRows(), IsEmpty());
  EXPECT_THAT(test::List(test::DataFile("realdata/5")), IsEmpty());
  EXPECT_THAT(test::List(test::DataFile("alarmdata/5")), IsEmpty());
}

TEST_F(LedgerAgeing, DropsARowThatComesTooOld) {
  test::WriteDataFile(kJustTooOld);

  const int result = Save({Row(kJustTooOld), Row(kJustKept)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), ElementsAre(std::string(kJustKept) + "|2|0"));
  EXPECT_FALSE(test::Exists(test::DataFile(kJustTooOld)));
}

TEST_F(LedgerAgeing, DropsARowWhoseFileIsGone) {
  test::MakePendingTable({Pending(kJustTooOld)});

  const int result = Save({});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), IsEmpty());
}

TEST_F(LedgerAgeing, DropsARowWhoseFileResists) {
  test::MakePendingTable({Pending(kJustTooOld), Pending(kOlder)});
  for (const auto* name : {kOlder, kJustTooOld}) test::WriteDataFile(name);
  test::FailCalls(Call::kUnlink);

  const int result = Save({});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), IsEmpty());
  EXPECT_THAT(test::List(test::DataFile("realdata/5")), SizeIs(1));
}

TEST_F(LedgerAgeing, KeepsFilesThatNoRowNames) {
  test::MakePendingTable();
  test::WriteDataFile(kJustTooOld);

  Save({});

  EXPECT_TRUE(test::Exists(test::DataFile(kJustTooOld)));
}

TEST_F(LedgerAgeing, Counts31DaysOf24HoursAcrossAChangeToSummerTime) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  test::SetTime(test::LocalTimeOf(2024, 4, 15, 12));  // summer since 31 March
  test::MakePendingTable({Pending("realdata/15/S20240315110000.tar.gz"),
                          Pending("realdata/15/S20240315110001.tar.gz")});

  Save({});

  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/15/S20240315110001.tar.gz|2|0"));
}

TEST_F(LedgerAgeing, WorksAcrossTheTurnOfTheYear) {
  test::SetTime(test::LocalTimeOf(2024, 1, 15, 12));
  test::MakePendingTable({Pending("realdata/15/S20231215120000.tar.gz"),
                          Pending("realdata/15/S20231215120001.tar.gz"),
                          Pending("realdata/1/S20240101000000.tar.gz")});

  Save({});

  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/15/S20231215120001.tar.gz|2|0",
                                              "realdata/1/S20240101000000.tar.gz|2|0"));
}

// 94 characters of a name fit into the 127 of a path; this name's stamp is beyond them.
TEST_F(LedgerAgeing, CutsThePathOfAFileAt127Characters) {
  const std::string name = std::string(106, 'd') + "20240205120000.tar.gz";
  const std::string cut = test::DataFile(name).substr(0, 127);
  const std::string cutLess = test::DataFile(name).substr(0, 126);
  for (const auto& path : {test::DataFile(name), cut, cutLess}) test::WriteFile(path, "archive");

  const int result = Save({Row(name)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), IsEmpty());
  EXPECT_FALSE(test::Exists(cut));
  EXPECT_TRUE(test::Exists(cutLess));
  EXPECT_TRUE(test::Exists(test::DataFile(name)));
}

TEST_F(LedgerAgeing, RemovesAFileWhosePathHasExactly127Characters) {
  const std::size_t length = 127 - test::DataFile("").size();
  const std::string name = std::string(length - 21, 'd') + "20240205120000.tar.gz";
  test::WriteDataFile(name);

  Save({Row(name)});

  EXPECT_FALSE(test::Exists(test::DataFile(name)));
}

TEST_F(LedgerAgeing, KeepsTheFilesWhoseRowsCannotBeDeleted) {
  test::MakePendingTable({Pending(kJustTooOld)});
  test::WriteDataFile(kJustTooOld);
  test::FailCalls(Call::kSqliteExec, 1, 3);  // setting, begin and commit pass

  const int result = Save({});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), SizeIs(1));
  EXPECT_TRUE(test::Exists(test::DataFile(kJustTooOld)));
}

TEST_F(LedgerAgeing, MakesRoomAlsoWhenNoRowCanBeRecorded) {
  test::MakePendingTable({Pending(kJustTooOld)});
  test::WriteDataFile(kJustTooOld);
  test::FailCalls(Call::kSqliteExec, 1, 3);  // setting, begin and insert pass

  Save({Row(kJustKept)});

  EXPECT_THAT(test::LedgerRows(), IsEmpty());
  EXPECT_FALSE(test::Exists(test::DataFile(kJustTooOld)));
}

TEST_F(LedgerAgeing, DropsNothingWhenTheTimeCannotBeTold) {
  test::MakePendingTable({Pending(kJustTooOld)});
  test::WriteDataFile(kJustTooOld);
  test::FailCalls(Call::kLocaltime);

  const int result = Save({Row(kJustKept)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), SizeIs(2));
  EXPECT_TRUE(test::Exists(test::DataFile(kJustTooOld)));
}

TEST_F(LedgerAgeing, DropsTenThousandRowsAtOnce) {
  std::vector<std::string> rows;
  for (int second = 0; second < 10000; ++second) {
    rows.push_back(Pending(test::RealDataName(test::LocalTimeOf(2024, 1, 1) + second)));
  }
  test::MakePendingTable(rows);

  const int result = Save({Row(kJustKept)});

  EXPECT_EQ(result, 0);
  EXPECT_THAT(test::LedgerRows(), SizeIs(1));
}

}  // namespace
