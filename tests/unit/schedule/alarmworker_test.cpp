// The alarm worker: from the event databases to the ledger.
#include <gmock/gmock.h>
#include <pthread.h>

#include <filesystem>

#include "historydata/historydata.h"
#include "schedule/workers.h"
#include "steptap.h"
#include "support/eventdatabase.h"
#include "support/faults.h"
#include "support/logs.h"
#include "support/threads.h"
#include "util/paths.h"
#include "util/text.h"
#include "workerfixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace {

using test::Event;
using test::EventDatabase;
using test::LocalTimeOf;
using test::LogRecord;
using test::PausesText;
using test::ReadLedger;
using test::RunToItsEnd;
using test::RunToPause;

constexpr char kAlarms[] = "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata";

class AlarmWorker : public test::WorkerTest {
 protected:
  void SetUp() override {
    WorkerTest::SetUp();
    test::SetTime(LocalTimeOf(2024, 3, 7, 12, 0, 10));
  }

  std::int32_t m_interval = 30;
};

TEST_F(AlarmWorker, SleepsToItsFirstBoundaryBeforeItLooks) {
  EventDatabase events(2024, 3);
  events.Add();

  RunToPause(HandleRealAlarm, m_interval, 1);

  EXPECT_EQ(PausesText(), "20");
  EXPECT_THAT(events.Uploads(), ElementsAre("0"));
}

TEST_F(AlarmWorker, SleepsAWholeIntervalWhenItStartsOnABoundary) {
  test::SetTime(LocalTimeOf(2024, 3, 7, 12, 0, 30));

  RunToPause(HandleRealAlarm, m_interval, 1);

  EXPECT_EQ(PausesText(), "30");
}

TEST_F(AlarmWorker, RecordsTheFileOfAnEvent) {
  EventDatabase(2024, 3).Add();

  // boundary; the file's pause and attempt; the next boundary
  RunToPause(HandleRealAlarm, m_interval, 4);

  EXPECT_EQ(PausesText(), "20 0.05 1 29");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307120030.tar.gz", "1 0")));
  EXPECT_THAT(test::List(std::string(kAlarms) + "/7"), ElementsAre("T20240307120030.tar.gz"));
}

TEST_F(AlarmWorker, ReportsNothingButTheBuildersSuccess) {
  EventDatabase(2024, 3).Add();

  RunToPause(HandleRealAlarm, m_interval, 4);

  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", std::string("CreateAlarmDataJsonFile ") + kAlarms +
                                                "/7/T20240307120030.tar.gz Success"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(AlarmWorker, MarksTheEventsTakenBeforeTheirFileIsMade) {
  EventDatabase events(2024, 3);
  events.Add().Add();
  std::vector<std::string> taken;
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 2) taken = events.Uploads();
    if (pauses == 4) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRealAlarm, m_interval);

  EXPECT_THAT(taken, ElementsAre("1", "1"));
}

TEST_F(AlarmWorker, RecordsEveryFileOfABurst) {
  EventDatabase(2024, 3).AddAll(std::vector<Event>(41));

  RunToPause(HandleRealAlarm, m_interval, 8);

  EXPECT_EQ(PausesText(), "20 0.05 1 0.05 1 0.05 1 27");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307120030.tar.gz", "1 0"),
                                        Pair("alarmdata/7/T20240307120031.tar.gz", "1 0"),
                                        Pair("alarmdata/7/T20240307120032.tar.gz", "1 0")));
}

TEST_F(AlarmWorker, PausesOneSecondWithoutEvents) {
  EventDatabase(2024, 3).Add({.upload = 1});

  RunToPause(HandleRealAlarm, m_interval, 5);

  EXPECT_EQ(PausesText(), "20 1 29 1 29");
  EXPECT_FALSE(test::Exists(paths::kLedger));
  EXPECT_THAT(test::List(std::string(kAlarms) + "/7"), IsEmpty());
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(AlarmWorker, PausesOneSecondWithoutADatabase) {
  RunToPause(HandleRealAlarm, m_interval, 3);

  EXPECT_EQ(PausesText(), "20 1 29");
  EXPECT_FALSE(test::Exists(paths::kLedger));
}

TEST_F(AlarmWorker, PausesOneSecondWithADatabaseThatCannotBeRead) {
  test::WriteFile(test::EventDatabasePathOf(2024, 3), "no database at all");

  RunToPause(HandleRealAlarm, m_interval, 3);

  EXPECT_EQ(PausesText(), "20 1 29");
  EXPECT_THAT(test::DatabaseLog(), IsEmpty()) << "the reader's failures are not told";
}

TEST_F(AlarmWorker, ReportsAReaderThatFails) {
  EventDatabase events(2024, 3);
  events.Add();
  test::FailNextStep(test::Step::kReadEvents);

  RunToPause(HandleRealAlarm, m_interval, 6);

  EXPECT_EQ(PausesText(), "20 1 29 0.05 1 29");
  EXPECT_THAT(test::DatabaseLog(), ElementsAre(LogRecord{"ERROR", "Brennik Get AlarmData error"}));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307120100.tar.gz", "1 0")));
}

TEST_F(AlarmWorker, ReportsABuilderThatFails) {
  EventDatabase(2024, 3).Add();
  test::FailNextStep(test::Step::kPackEvents);

  RunToPause(HandleRealAlarm, m_interval, 3);

  EXPECT_EQ(PausesText(), "20 1 29");
  EXPECT_THAT(test::DatabaseLog(),
              ElementsAre(LogRecord{"ERROR", "Brennik Create AlarmData File error"}));
  EXPECT_FALSE(test::Exists(paths::kLedger)) << "nothing is recorded for such a cycle";
}

TEST_F(AlarmWorker, TakesAnEventOnlyOnce) {
  EventDatabase events(2024, 3);
  events.Add();
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 6) events.Add({.clock = "12:00:50"});
    if (pauses == 9) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRealAlarm, m_interval);

  EXPECT_EQ(PausesText(), "20 0.05 1 29 1 29 0.05 1 29");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307120030.tar.gz", "1 0"),
                                        Pair("alarmdata/7/T20240307120130.tar.gz", "1 0")));
}

TEST_F(AlarmWorker, FilesByTheDayOfItsBoundary) {
  test::SetTime(LocalTimeOf(2024, 3, 31, 23, 59, 40));
  EventDatabase(2024, 3).Add({.date = "2024-03-31"});
  EventDatabase(2024, 4);

  RunToPause(HandleRealAlarm, m_interval, 4);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/1/T20240401000000.tar.gz", "1 0")));
  EXPECT_THAT(test::List(std::string(kAlarms) + "/1"), ElementsAre("T20240401000000.tar.gz"));
}

// A name is the clock's, but its directory and its row are the boundary's.
TEST_F(AlarmWorker, FilesByItsBoundaryAlsoWhenTheNameIsOfTheNextDay) {
  test::SetTime(LocalTimeOf(2024, 3, 7, 23, 59, 0));
  EventDatabase(2024, 3).AddAll(std::vector<Event>(21));
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    // Within the first attempt midnight passes.
    if (++pauses == 3) test::SetTime(LocalTimeOf(2024, 3, 8));
    if (pauses == 6) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRealAlarm, m_interval);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307235930.tar.gz", "1 0"),
                                        Pair("alarmdata/7/T20240308000000.tar.gz", "1 0")));
}

TEST_F(AlarmWorker, FilesByItsBoundaryAlsoWhenItWakesLate) {
  EventDatabase(2024, 3).Add();
  m_interval = 7000;  // whose boundaries miss midnight: 23:56:40
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 1) test::SetTime(LocalTimeOf(2024, 3, 8, 0, 1));
    if (pauses == 4) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRealAlarm, m_interval);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240308000100.tar.gz", "1 0")));
}

TEST_F(AlarmWorker, ReadsBothMonthsFilesIntoOneBurst) {
  test::SetTime(LocalTimeOf(2024, 4, 2, 2, 0, 10));
  EventDatabase march(2024, 3);
  march.Add({.date = "2024-03-31"});
  EventDatabase april(2024, 4);
  april.Add({.date = "2024-04-01"});

  RunToPause(HandleRealAlarm, m_interval, 4);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/2/T20240402020030.tar.gz", "1 0")));
  EXPECT_THAT(march.Uploads(), ElementsAre("1"));
  EXPECT_THAT(april.Uploads(), ElementsAre("1"));
}

TEST_F(AlarmWorker, RecordsOnlyTheFilesThatWereMade) {
  EventDatabase(2024, 3).AddAll(std::vector<Event>(41));
  test::FailCalls(test::Call::kPopen, 3, 1);

  RunToPause(HandleRealAlarm, m_interval, 10);

  EXPECT_EQ(PausesText(), "20 0.05 1 0.05 1 1 1 0.05 1 25");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307120030.tar.gz", "1 0"),
                                        Pair("alarmdata/7/T20240307120034.tar.gz", "1 0")));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty()) << "a lost file is no failure of the builder";
}

TEST_F(AlarmWorker, PacksTheEventsThatAFullCardKeptOutInTheNextCycle) {
  EventDatabase(2024, 3).Add();
  fs::create_symlink("/dev/full", std::string(kAlarms) + "/7/T20240307120030.dat");

  RunToPause(HandleRealAlarm, m_interval, 9);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307120100.tar.gz", "1 0")));
}

TEST_F(AlarmWorker, GivesUpKeptEventsOfMoreThanFourDaysAgo) {
  EventDatabase(2024, 3).Add({.date = "2024-03-05", .clock = "00:00:05"});
  test::SetTime(LocalTimeOf(2024, 3, 8, 23, 59, 20));
  fs::create_symlink("/dev/full", std::string(kAlarms) + "/8/T20240308235930.dat");
  fs::create_symlink("/dev/full", std::string(kAlarms) + "/9/T20240309000000.dat");

  RunToPause(HandleRealAlarm, m_interval, 14);

  EXPECT_THAT(ReadLedger(), IsEmpty());
  EXPECT_THAT(test::TextLog("WARN"),
              ::testing::Contains("1 alarm events are given up, the card was full for days"));
}

TEST_F(AlarmWorker, MakesALedgerWithoutARowWhenTheOnlyFileIsLost) {
  EventDatabase(2024, 3).Add();
  test::FailCalls(test::Call::kPopen, 3);

  RunToPause(HandleRealAlarm, m_interval, 6);

  EXPECT_EQ(PausesText(), "20 0.05 1 1 1 27");
  EXPECT_TRUE(test::Exists(paths::kLedger));
  EXPECT_THAT(ReadLedger(), IsEmpty());
}

TEST_F(AlarmWorker, DoesNotExamineTheLedgersFailure) {
  EventDatabase events(2024, 3);
  events.Add();
  util::Database(paths::kLedger).Execute("create table something_else(x)");
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 4) events.Add({.clock = "12:00:40"});
    if (pauses == 7) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRealAlarm, m_interval);
  pthread_join(test::LatestThread().id, nullptr);  // it removes the damaged tree

  // The tree with the first archive went; the second cycle stands in the new one.
  EXPECT_EQ(PausesText(), "20 0.05 1 29 0.05 1 29");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307120100.tar.gz", "1 0")));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(AlarmWorker, ReadsItsIntervalAfreshEveryCycle) {
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 2) m_interval = 600;
    if (pauses == 5) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRealAlarm, m_interval);

  EXPECT_EQ(PausesText(), "20 1 569 1 599");
}

}  // namespace
