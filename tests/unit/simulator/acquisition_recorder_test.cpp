// What is recorded as time goes by: events by turns, a history without holes, nothing twice.
#include "acquisition/recorder.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "acquisition/alarms.h"
#include "acquisition/signals.h"
#include "acquisition_card_fixture.h"
#include "util/text.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Recording = test::CardTest;

constexpr std::uint32_t kPoint = 0x01030101;
constexpr std::int64_t kDay = 86400;

// Busy enough to have an alarm in every minute.
Plant BusyPlant() {
  return test::PlantOf(test::Points(PointType::kDi, 60));
}

RecordingPlan EventsEvery(std::int64_t seconds) {
  RecordingPlan plan;
  plan.eventInterval = seconds;
  plan.history = false;
  return plan;
}

RecordingPlan HistoryFrom(std::int64_t minutesBefore) {
  RecordingPlan plan;
  plan.eventInterval = 0;
  plan.historyMinutes = minutesBefore;
  return plan;
}

std::string Text(std::uint32_t dataId, double value) {
  return util::Format("%u %.3f", dataId, value);
}

// The events of March in the order of recording, as "<DataId> <triggervalue>".
std::vector<std::string> Recorded() {
  return test::Lines(test::kMarchEvents,
                     "SELECT printf('%d %.3f',DataId,triggervalue) FROM event_tbl ORDER BY Pid");
}

std::vector<std::string> Texts(const std::vector<AlarmEvent>& events) {
  std::vector<std::string> texts;
  for (const AlarmEvent& event : events) texts.push_back(Text(event.dataId, event.triggerValue));
  return texts;
}

// The minutes of the point's history, counted from noon.
std::vector<std::string> RecordedMinutes() {
  return test::Lines(
      test::kHistoryPath,
      util::Format("SELECT (UnixTime-%lld)/60.0||'' FROM history_0103_tbl WHERE dataid=%u "
                   "ORDER BY UnixTime,Pid",
                   static_cast<long long>(test::kNoon), kPoint));
}

TEST_F(Recording, WritesTheLatestAlarmAtEveryMultipleOfTheInterval) {
  const Plant plant = BusyPlant();
  const auto latest = LatestAlarms(plant, test::kNoon + 60, 60, 1);
  Recorder recorder(plant, EventsEvery(60), test::kNoon + 10);

  recorder.Follow(test::kNoon + 59);
  const auto before = Recorded();
  recorder.Follow(test::kNoon + 60);
  recorder.Follow(test::kNoon + 61);

  EXPECT_THAT(before, IsEmpty());
  ASSERT_THAT(latest, SizeIs(1));
  EXPECT_THAT(Recorded(), ElementsAreArray(Texts(latest)));
}

TEST_F(Recording, CatchesUpWithEveryTurnOnAFasterClock) {
  const Plant plant = BusyPlant();
  std::vector<AlarmEvent> expected;
  for (int turn = 1; turn <= 10; ++turn) {
    const auto latest = LatestAlarms(plant, test::kNoon + turn * 60, 60, 1);
    expected.insert(expected.end(), latest.begin(), latest.end());
  }
  Recorder recorder(plant, EventsEvery(60), test::kNoon);

  recorder.Follow(test::kNoon + 600);

  ASSERT_THAT(expected, SizeIs(10));
  EXPECT_THAT(Recorded(), ElementsAreArray(Texts(expected)));
}

TEST_F(Recording, WritesABurstAtTheStartAndNoMore) {
  const Plant plant = BusyPlant();
  RecordingPlan plan = EventsEvery(0);
  plan.burst = 21;
  Recorder recorder(plant, plan, test::kNoon);
  const std::size_t due = recorder.EventsDue();

  recorder.Follow(test::kNoon);
  recorder.Follow(test::kNoon + 3600);

  EXPECT_EQ(due, 21U);
  EXPECT_EQ(recorder.EventsDue(), 0U);
  EXPECT_THAT(Recorded(), ElementsAreArray(Texts(LatestAlarms(plant, test::kNoon, kDay, 21))));
}

TEST_F(Recording, WritesNoEventWhereThePlantHasNone) {
  Recorder recorder(test::PlantOf({0x01030205}), EventsEvery(60), test::kNoon);

  recorder.Follow(test::kNoon + 600);

  EXPECT_THAT(test::List(test::kCard), IsEmpty());
  EXPECT_EQ(recorder.Trouble(), "");
}

TEST_F(Recording, KeepsEventsDueUntilTheyCanBeRecorded) {
  const Plant plant = BusyPlant();
  RecordingPlan plan = EventsEvery(60);
  plan.burst = 2;
  const std::string obstacle = std::string(test::kMarchEvents) + "/in-the-way";
  test::WriteFile(obstacle, "");
  Recorder recorder(plant, plan, test::kNoon);
  recorder.Follow(test::kNoon + 60);
  const std::size_t due = recorder.EventsDue();
  const std::string trouble = recorder.Trouble();

  std::filesystem::remove_all(test::kMarchEvents);
  recorder.Follow(test::kNoon + 61);

  EXPECT_EQ(due, 3U);
  EXPECT_EQ(trouble, "cannot write /media/mmcblk0p1/202403_event.db: unable to open database file");
  EXPECT_EQ(recorder.EventsDue(), 0U);
  EXPECT_EQ(recorder.Trouble(), "");
  EXPECT_THAT(Recorded(), SizeIs(3));
}

TEST_F(Recording, WritesNothingTwiceWhenTheClockGoesBack) {
  Recorder recorder(BusyPlant(), EventsEvery(60), test::kNoon);
  recorder.Follow(test::kNoon + 120);

  recorder.Follow(test::kNoon);
  recorder.Follow(test::kNoon + 120);

  EXPECT_THAT(Recorded(), SizeIs(2));
}

TEST_F(Recording, DoesNotFillInTheTimeThatAClockIsSetAheadBy) {
  RecordingPlan plan = EventsEvery(60);
  plan.history = true;
  Recorder recorder(BusyPlant(), plan, test::kNoon);

  recorder.Follow(test::kNoon + 2 * kDay);
  recorder.Follow(test::kNoon + 2 * kDay + 60);

  EXPECT_THAT(Recorded(), SizeIs(1));
  EXPECT_THAT(RecordedMinutes(), ElementsAre("2881.0"));
}

TEST_F(Recording, WritesTheHistoryOfEveryPointAtEveryMinute) {
  Recorder recorder(test::PlantOf({kPoint, 0x02040301}), HistoryFrom(0), test::kNoon + 30);

  recorder.Follow(test::kNoon + 59);
  const bool before = test::Exists(test::kHistoryPath);
  recorder.Follow(test::kNoon + 60);
  recorder.Follow(test::kNoon + 119);
  recorder.Follow(test::kNoon + 120);

  EXPECT_FALSE(before);
  EXPECT_THAT(RecordedMinutes(), ElementsAre("1.0", "2.0"));
  EXPECT_THAT(test::Lines(test::kHistoryPath,
                          "SELECT printf('%d %.3f',dataid,TriggerValue) FROM history_0204_tbl"),
              ElementsAre(Text(0x02040301, SignalValue(0x02040301, test::kNoon + 60)),
                          Text(0x02040301, SignalValue(0x02040301, test::kNoon + 120))));
}

TEST_F(Recording, FillsInTheMinutesUpToTheStart) {
  Recorder recorder(test::PlantOf({kPoint}), HistoryFrom(3), test::kNoon + 30);

  recorder.Follow(test::kNoon + 30);

  EXPECT_THAT(RecordedMinutes(), ElementsAre("-2.0", "-1.0", "0.0"));
}

TEST_F(Recording, FillsInMoreMinutesThanOneTransactionTakes) {
  Recorder recorder(test::PlantOf({kPoint}), HistoryFrom(150), test::kNoon);

  recorder.Follow(test::kNoon);

  const auto minutes = RecordedMinutes();
  ASSERT_THAT(minutes, SizeIs(150));
  for (int i = 0; i < 150; ++i) {
    EXPECT_EQ(minutes[static_cast<std::size_t>(i)], std::to_string(i - 149) + ".0");
  }
}

TEST_F(Recording, LeavesTheHistoryOfAnEarlierRunAlone) {
  Recorder(test::PlantOf({kPoint}), HistoryFrom(3), test::kNoon).Follow(test::kNoon);
  Recorder again(test::PlantOf({kPoint}), HistoryFrom(4), test::kNoon);

  again.Follow(test::kNoon);

  EXPECT_THAT(RecordedMinutes(), ElementsAre("-3.0", "-2.0", "-1.0", "0.0"));
}

TEST_F(Recording, MakesTheHistoryFaultsThatItIsAskedFor) {
  RecordingPlan plan = HistoryFrom(4);
  plan.historyFaults = {.gap = 3, .offMinute = 2};
  Recorder recorder(test::PlantOf({kPoint}), plan, test::kNoon);

  recorder.Follow(test::kNoon);

  EXPECT_THAT(RecordedMinutes(), ElementsAre("-2.5", "-2.0", "-1.0", "-0.5"));
}

TEST_F(Recording, FillsInTheHistoryThatCouldNotBeRecorded) {
  test::WriteFile(std::string(test::kHistoryPath) + "/in-the-way", "");
  Recorder recorder(test::PlantOf({kPoint}), HistoryFrom(1), test::kNoon);
  recorder.Follow(test::kNoon + 60);
  const std::string trouble = recorder.Trouble();

  std::filesystem::remove_all(test::kHistoryPath);
  recorder.Follow(test::kNoon + 61);

  EXPECT_EQ(trouble,
            "cannot write /media/mmcblk0p1/demand_history.db: unable to open database file");
  EXPECT_EQ(recorder.Trouble(), "");
  EXPECT_THAT(RecordedMinutes(), ElementsAre("0.0", "1.0"));
}

}  // namespace
