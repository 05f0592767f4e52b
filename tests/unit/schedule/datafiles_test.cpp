// Where a packed file goes and how the ledger names it.
#include "schedule/datafiles.h"

#include <gmock/gmock.h>

#include "historydata/historydata.h"
#include "support/faults.h"
#include "workerfixture.h"

namespace {

using test::LocalTimeOf;
using namespace testing;

class DataFiles : public test::WorkerTest {};

TEST_F(DataFiles, NamesADirectoryByTheDayInLocalTimeAndZeroWhenItIsUnknown) {
  EXPECT_EQ(DirectoryOf("/root", LocalTimeOf(2024, 3, 7, 0, 0, 0)), "/root/7");
  EXPECT_EQ(DirectoryOf("/root", LocalTimeOf(2024, 12, 31, 23, 59, 59)), "/root/31");
  test::FailCalls(test::Call::kLocaltime);
  EXPECT_EQ(DirectoryOf("/root", LocalTimeOf(2024, 3, 7)), "/root/0");
}

TEST_F(DataFiles, RecordsFilesAsPendingUnder127CharactersOfTheirPathsBelowTheRoot) {
  const std::string alarms = "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/";
  const std::string longName = "31/" + std::string(200, 'n');
  RecordPackedFiles(kAlarmDataFile, {alarms + "7/T1.tar.gz", alarms + longName});
  RecordPackedFiles(kRealDataFile, {"/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S1.tar.gz"});

  EXPECT_THAT(test::ReadLedger(), ElementsAre(Pair(("alarmdata/" + longName).substr(0, 127), "1 0"),
                                              Pair("alarmdata/7/T1.tar.gz", "1 0"),
                                              Pair("realdata/7/S1.tar.gz", "2 0")));
}

TEST_F(DataFiles, AgesTheLedgerAlsoWithoutFiles) {
  test::SetTime(LocalTimeOf(2024, 2, 4));
  AddFile("realdata/4/S20240204120000.tar.gz");
  test::SetTime(LocalTimeOf(2024, 3, 7, 12));

  RecordPackedFiles(kRealDataFile, {});

  EXPECT_THAT(test::ReadLedger(), IsEmpty());
}

}  // namespace
