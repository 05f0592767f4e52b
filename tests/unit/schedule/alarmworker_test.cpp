// The alarm worker.
#include <gmock/gmock.h>

#include <filesystem>

#include "schedule/workers.h"
#include "support/eventdatabase.h"
#include "support/logs.h"
#include "util/paths.h"
#include "workerfixture.h"

namespace {

using namespace test;
using namespace testing;

// Gives the text file of that name no room, as on a full card.
void FillCardFor(const std::string& name) {
  std::filesystem::create_symlink("/dev/full", paths::kAlarmData + ("/" + name + ".dat"));
}

class AlarmWorker : public WorkerTest {
 protected:
  std::int32_t m_interval = 30;
};

TEST_F(AlarmWorker, RecordsEveryFileOfItsEventsOnce) {
  EventDatabase(2024, 3).AddAll(std::vector<Event>(21));

  RunToRest(HandleRealAlarm, m_interval, 3);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307120030.tar.gz", "1 0"),
                                        Pair("alarmdata/7/T20240307120031.tar.gz", "1 0")));
  EXPECT_THAT(List("/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/7"),
              ElementsAre("T20240307120030.tar.gz", "T20240307120031.tar.gz"));
  EXPECT_THAT(DatabaseLog(), IsEmpty());
}

// The name is the clock's. The directory and the row are the boundary's.
TEST_F(AlarmWorker, FilesByTheDayOfItsBoundaryAlsoWhenItWakesAfterMidnight) {
  EventDatabase(2024, 3).Add();
  m_interval = 7000;  // boundaries that miss midnight: 23:56:40

  RunThroughRests(HandleRealAlarm, m_interval,
                  {[] { SetTime(LocalTimeOf(2024, 3, 8, 0, 1)); }, [] {}});

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240308000100.tar.gz", "1 0")));
}

TEST_F(AlarmWorker, PacksTheEventsThatAFullCardKeptOutInTheNextCycle) {
  EventDatabase(2024, 3).Add();
  FillCardFor("7/T20240307120030");

  RunToRest(HandleRealAlarm, m_interval, 3);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/7/T20240307120100.tar.gz", "1 0")));
  EXPECT_THAT(TextLog("WARN"), Not(Contains(HasSubstr("given up"))));
}

TEST_F(AlarmWorker, GivesUpKeptEventsOfMoreThanFourDaysAgo) {
  EventDatabase(2024, 3)
      .Add({.date = "2024-03-05", .clock = "00:00:29"})
      .Add({.date = "2024-03-05", .clock = "00:00:30"});
  SetTime(LocalTimeOf(2024, 3, 8, 23, 59, 20));
  FillCardFor("8/T20240308235930");
  FillCardFor("9/T20240309000000");

  RunToRest(HandleRealAlarm, m_interval, 4);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("alarmdata/9/T20240309000030.tar.gz", "1 0")));
  EXPECT_THAT(TextLog("WARN"), Contains("1 alarm events are given up, the card was full for days"));
}

TEST_F(AlarmWorker, SleepsToABoundaryAndPausesOneSecondWithoutEvents) {
  RunToRest(HandleRealAlarm, m_interval, 3);

  EXPECT_EQ(PausesText(), "20 1 29 1 29");
  EXPECT_FALSE(Exists(paths::kLedger));
}

}  // namespace
