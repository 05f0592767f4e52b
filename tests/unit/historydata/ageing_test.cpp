// Files and rows of 31 days ago and older go.
#include <gmock/gmock.h>

#include <string>

#include "ledgertest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logs.h"

using test::Call;
using test::Row;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr char kOld[] = "realdata/1/S20240101120000.tar.gz";
constexpr char kOlder[] = "realdata/1/S20240101115500.tar.gz";

// A pending row and its file.
void MakeOldFiles() {
  test::MakePendingTable(
      {"'realdata/1/S20240101120000.tar.gz',2,0", "'realdata/1/S20240101115500.tar.gz',2,1"});
  for (const char* name : {kOld, kOlder}) test::WriteDataFile(name);
}

class LedgerAgeing : public test::LedgerTest {};

TEST_F(LedgerAgeing, DropsRowAndFileOfExactly31DaysAgoAndKeepsOneASecondYounger) {
  test::SetTime(test::LocalTimeOf(2024, 1, 15, 12));
  test::MakePendingTable({"'realdata/15/S20231215120001.tar.gz',2,0",
                          "'realdata/15/S20231215120000.tar.gz',2,0",
                          "'alarmdata/15/T20231215120000.tar.gz',1,1"});
  test::WriteDataFile("realdata/15/S20231215120001.tar.gz");
  test::WriteDataFile("realdata/15/S20231215120000.tar.gz");
  test::WriteDataFile("alarmdata/15/T20231215120000.tar.gz");

  EXPECT_EQ(Save({}), 0);

  EXPECT_THAT(test::LedgerRows(), ElementsAre("realdata/15/S20231215120001.tar.gz|2|0"));
  EXPECT_THAT(test::List(test::DataFile("realdata/15")), ElementsAre("S20231215120001.tar.gz"));
  EXPECT_THAT(test::List(test::DataFile("alarmdata/15")), IsEmpty());
}

TEST_F(LedgerAgeing, DropsARowWhoseFileCannotBeRemoved) {
  MakeOldFiles();
  test::FailCalls(Call::kUnlink);

  EXPECT_EQ(Save({}), 0);
  EXPECT_THAT(test::LedgerRows(), IsEmpty());
  EXPECT_THAT(test::List(test::DataFile("realdata/1")), SizeIs(1));
}

TEST_F(LedgerAgeing, CutsThePathOfAFileAt127Characters) {
  const std::string fits =
      std::string(106 - test::DataFile("").size(), 'f') + "20240101120000.tar.gz";
  const std::string tooLong = std::string(106, 'd') + "20240101120000.tar.gz";
  const std::string cut = test::DataFile(tooLong).substr(0, 127);
  test::WriteDataFile(fits);
  test::WriteDataFile(tooLong);
  test::WriteFile(cut, "archive");

  EXPECT_EQ(Save({Row(fits), Row(tooLong)}), 0);

  EXPECT_THAT(test::LedgerRows(), IsEmpty());
  EXPECT_THAT(test::List(test::DataFile("")), ElementsAre(tooLong));
}

TEST_F(LedgerAgeing, KeepsRowsAndFilesWhenItFailsAndLogsIt) {
  MakeOldFiles();

  test::FailCalls(Call::kLocaltime);
  EXPECT_EQ(Save({}), 0);
  test::FailCalls(Call::kSqliteStep, 1, 3);  // the look for the table and the first row pass
  EXPECT_EQ(Save({}), 0);
  test::FailCalls(Call::kSqliteExec, 1, 3);  // setting, begin and commit pass
  EXPECT_EQ(Save({}), 0);

  EXPECT_THAT(test::LedgerRows(), SizeIs(2));
  EXPECT_THAT(test::List(test::DataFile("realdata/1")), SizeIs(2));
  EXPECT_THAT(test::TextLog("WARN"), ElementsAre(HasSubstr("ageing fails")));
  EXPECT_THAT(test::TextLog(), SizeIs(1));
}

TEST_F(LedgerAgeing, MakesRoomAlsoWhenNoRowCanBeRecorded) {
  MakeOldFiles();
  test::FailCalls(Call::kSqliteExec, 1, 3);  // setting, begin and insert pass

  EXPECT_EQ(Save({Row("realdata/7/S20240307120000.tar.gz")}), 0);
  EXPECT_THAT(test::LedgerRows(), IsEmpty());
  EXPECT_FALSE(test::Exists(test::DataFile(kOld)));
}

}  // namespace
