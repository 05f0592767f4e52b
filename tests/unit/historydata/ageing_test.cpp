// Dropping files that are too old, beside the recording of new ones.
#include <gmock/gmock.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ledgertest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/logs.h"

using namespace test;
using namespace testing;

namespace {

class LedgerAgeing : public LedgerTest {
 protected:
  // Two rows and their files.
  static void MakeOldFiles() {
    MakePendingTable(
        {"'realdata/1/S20240101120000.tar.gz',2,0", "'realdata/1/S20240101115500.tar.gz',2,1"});
    WriteDataFile("realdata/1/S20240101120000.tar.gz");
    WriteDataFile("realdata/1/S20240101115500.tar.gz");
  }

  // One row and no number for another one. To SQLite that is a full card.
  static void MakeLedgerWithoutRoom(const std::string& name) {
    LedgerFile().Run(
        "create table tJsonFileNames(number integer primary key autoincrement,FileName,FileType,"
        "Result); insert into tJsonFileNames values(9223372036854775807,'" +
        name + "',2,0)");
  }

  // SQLite counts the transactions that have changed a file in its bytes 24 to 27.
  static std::uint32_t Transactions() {
    const std::string content = ReadFile(paths::kLedger);
    std::uint32_t count = 0;
    for (std::size_t i = 24; i < 28; ++i)
      count = count * 256 + static_cast<unsigned char>(content.at(i));
    return count;
  }
};

TEST_F(LedgerAgeing, DropsRowAndFileOfExactly31DaysAgoAndKeepsOneASecondYounger) {
  SetTime(LocalTimeOf(2024, 1, 15, 12));
  MakePendingTable({"'realdata/15/S20231215120001.tar.gz',2,0",
                    "'realdata/15/S20231215120000.tar.gz',2,0",
                    "'alarmdata/15/T20231215120000.tar.gz',1,1"});
  WriteDataFile("realdata/15/S20231215120001.tar.gz");
  WriteDataFile("realdata/15/S20231215120000.tar.gz");
  WriteDataFile("alarmdata/15/T20231215120000.tar.gz");

  EXPECT_EQ(Save({}), 0);

  EXPECT_THAT(LedgerRows(), ElementsAre("realdata/15/S20231215120001.tar.gz|2|0"));
  EXPECT_THAT(test::List(DataFile("realdata/15")), ElementsAre("S20231215120001.tar.gz"));
  EXPECT_THAT(test::List(DataFile("alarmdata/15")), IsEmpty());
}

TEST_F(LedgerAgeing, DropsARowWhoseFileCannotBeRemoved) {
  MakeOldFiles();
  FailCalls(Call::kUnlink);

  EXPECT_EQ(Save({}), 0);
  EXPECT_THAT(LedgerRows(), IsEmpty());
  EXPECT_THAT(test::List(DataFile("realdata/1")), SizeIs(1));
}

TEST_F(LedgerAgeing, CutsThePathOfAFileAt127Characters) {
  const std::string fits = std::string(106 - DataFile("").size(), 'f') + "20240101120000.tar.gz";
  const std::string tooLong = std::string(106, 'd') + "20240101120000.tar.gz";
  const std::string cut = DataFile(tooLong).substr(0, 127);
  WriteDataFile(fits);
  WriteDataFile(tooLong);
  WriteFile(cut, "archive");

  EXPECT_EQ(Save({Row(fits), Row(tooLong)}), 0);

  EXPECT_THAT(LedgerRows(), IsEmpty());
  EXPECT_THAT(test::List(DataFile("")), ElementsAre(tooLong));
}

// A power cut in between leaves both or neither. Each transaction also takes six flushes of the
// card.
TEST_F(LedgerAgeing, IsOneTransactionWithTheRecordingAndRemovesNoFileBeforeItsEnd) {
  MakeOldFiles();
  const std::uint32_t before = Transactions();
  std::vector<std::string> rows;
  AtNextCall(Call::kUnlink, [&] { rows = LedgerRows(); });

  EXPECT_EQ(Save({Row(kFirst)}), 0);

  EXPECT_EQ(Transactions(), before + 1);
  EXPECT_THAT(rows, ElementsAre(kFirstRow));
  EXPECT_THAT(test::List(DataFile("realdata/1")), IsEmpty());
}

TEST_F(LedgerAgeing, KeepsRowsAndFilesWhenItFailsAndLogsIt) {
  MakeOldFiles();

  FailCalls(Call::kLocaltime);
  EXPECT_EQ(Save({}), 0);
  FailCalls(Call::kSqliteStep, 1, 3);  // the look for the table and the first row pass
  EXPECT_EQ(Save({}), 0);

  EXPECT_THAT(LedgerRows(), SizeIs(2));
  EXPECT_THAT(test::List(DataFile("realdata/1")), SizeIs(2));
  EXPECT_THAT(TextLog("WARN"), ElementsAre(HasSubstr("ageing fails")));
  EXPECT_THAT(TextLog(), SizeIs(1));
}

TEST_F(LedgerAgeing, KeepsNoNewRowOutWhenItFails) {
  MakeOldFiles();
  LedgerFile().Run(
      "create trigger keep before delete on tJsonFileNames begin select raise(abort,'kept'); end");

  EXPECT_EQ(Save({Row(kFirst)}), 0);

  EXPECT_THAT(LedgerRows(), SizeIs(3));
  EXPECT_THAT(test::List(DataFile("realdata/1")), SizeIs(2));
  EXPECT_THAT(TextLog("WARN"), ElementsAre(HasSubstr("ageing fails, 0 rows wait in memory: kept")));
}

TEST_F(LedgerAgeing, FollowsTheRecordingWhenTheCardTakesThemOnlyOneByOne) {
  MakeOldFiles();
  FailCalls(Call::kSqliteExec, 1, 3);  // the DELETE: setting, begin and insert pass

  EXPECT_EQ(Save({Row(kFirst)}), 0);
  EXPECT_THAT(LedgerRows(), ElementsAre(kFirstRow));
  EXPECT_THAT(test::List(DataFile("realdata/1")), IsEmpty());
  EXPECT_THAT(TextLog(), IsEmpty());
}

TEST_F(LedgerAgeing, MakesRoomAlsoWhenNoRowCanBeRecorded) {
  MakeLedgerWithoutRoom("realdata/1/S20240101120000.tar.gz");
  WriteDataFile("realdata/1/S20240101120000.tar.gz");

  EXPECT_EQ(Save({Row(kFirst)}), 0);
  EXPECT_THAT(LedgerRows(), IsEmpty());
  EXPECT_THAT(test::List(DataFile("realdata/1")), IsEmpty());
  EXPECT_THAT(
      TextLog("WARN"),
      ElementsAre("ledger: recording fails, 1 rows wait in memory: database or disk is full"));
}

}  // namespace
