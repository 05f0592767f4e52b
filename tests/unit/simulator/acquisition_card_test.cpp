// What the acquisition side records on the card: the tables, the times, and the locks of others.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>

#include "acquisition/alarms.h"
#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "acquisition/recorder.h"
#include "acquisition/signals.h"
#include "acquisition_fixture.h"
#include "util/text.h"

namespace {

using test::kHistoryPath;
using test::kMarchEvents;
using test::kNoon;
using test::Lines;
using test::PlantOf;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Card = test::AcquisitionTest;

constexpr std::uint32_t kPoint = 0x01030001;
constexpr std::int64_t kFirstOfMarch = 1709222400;  // 2024-03-01 00:00 local time
constexpr std::int64_t kDay = 86'400;
constexpr std::chrono::milliseconds kImpatient{20};

AlarmEvent EventAt(std::int64_t time) {
  return {.time = time, .dataId = 0x01031123};
}

HistoryRow Row(std::int64_t unixTime, double value = 1) {
  return {kPoint, unixTime, value};
}

TEST_F(Card, HoldsEventsInATableOfTheirMonth) {
  const AlarmEvent event{.time = kNoon + 3,
                         .dataId = 0xFFFF0401,
                         .threshold = 30.5,
                         .triggerValue = 0.1,
                         .type = kBelowLimit,
                         .grade = 2,
                         .upFlag = 0};
  EventWriter writer;

  EXPECT_EQ(writer.Append({EventAt(kFirstOfMarch - 1), event, EventAt(kFirstOfMarch)}), 3U);

  EXPECT_THAT(Lines(kMarchEvents, "SELECT name||' '||type FROM pragma_table_info('event_tbl')"),
              ElementsAre("Pid INTEGER", "RecordDate TEXT", "RecordTime TEXT", "DataId INTEGER",
                          "threshold REAL", "triggervalue REAL", "eventtype INTEGER",
                          "grade INTEGER", "upflag INTEGER", "upload INTEGER"));
  EXPECT_THAT(
      Lines(kMarchEvents,
            "SELECT Pid||'|'||RecordDate||'|'||RecordTime||'|'||DataId||'|'||threshold||'|'||"
            "triggervalue||'|'||eventtype||'|'||grade||'|'||upflag||'|'||upload FROM event_tbl"),
      ElementsAre("1|2024-03-07|12:00:03|-64511|30.5|0.1|1|2|0|0",
                  "2|2024-03-01|00:00:00|16978211|0.0|0.0|0|1|1|0"));
  EXPECT_THAT(Lines("/media/mmcblk0p1/202402_event.db",
                    "SELECT RecordDate||' '||RecordTime FROM event_tbl"),
              ElementsAre("2024-02-29 23:59:59"));
}

TEST_F(Card, HoldsHistoryInATableOfItsDevice) {
  HistoryWriter writer;

  EXPECT_TRUE(writer.Append({{kPoint, 60, 1.5}, {0xC10A0002, 120, 2.5, 0}}));

  EXPECT_THAT(
      Lines(kHistoryPath, "SELECT name||' '||type FROM pragma_table_info('history_0103_tbl')"),
      ElementsAre("Pid INTEGER", "dataid INTEGER", "UnixTime INTEGER", "TriggerValue REAL",
                  "Upload INTEGER"));
  EXPECT_THAT(Lines(kHistoryPath,
                    "SELECT group_concat(name) FROM pragma_index_info('history_0103_tbl_idx')"),
              ElementsAre("dataid,UnixTime"));
  constexpr char kRow[] = "SELECT dataid||'|'||UnixTime||'|'||TriggerValue||'|'||Upload FROM ";
  EXPECT_THAT(Lines(kHistoryPath, std::string(kRow) + "history_0103_tbl"),
              ElementsAre("16973825|60|1.5|1"));
  EXPECT_THAT(Lines(kHistoryPath, std::string(kRow) + "history_c10a_tbl"),
              ElementsAre("-1056309246|120|2.5|0"));
}

TEST_F(Card, GivesBackTheHistoryOfAPointAndOnlyAddsWhatIsMissing) {
  HistoryWriter writer;
  EXPECT_FALSE(writer.Rows(kPoint));
  writer.Append({Row(180, 3), Row(60, 1), Row(60, 9), {kPoint + 1, 60, 9}});

  writer.AppendMissing({Row(60, 100), Row(120, 2), Row(120, 2), Row(180, 300)});

  EXPECT_THAT(*writer.Rows(kPoint),
              ElementsAre(Row(60, 1), Row(60, 9), Row(120, 2), Row(120, 2), Row(180, 3)));
  EXPECT_FALSE(writer.Rows(0x02040301));
}

// Noon is minute 28 496 400 since 1970, a multiple of 2, 3 and 4. Times are seconds from noon.
TEST_F(Card, GetsHistoryRowsOfWholeMinutesWithTheFaultsAskedFor) {
  const auto times = [](std::int64_t first, std::int64_t last, const HistoryFaults& faults) {
    std::string text;
    for (const HistoryRow& row : HistoryRows({kPoint}, kNoon + first, kNoon + last, faults)) {
      EXPECT_EQ(row.triggerValue, SignalValue(kPoint, row.unixTime));
      text += std::to_string(row.unixTime - kNoon) + (row.upload == 1 ? " " : "~ ");
    }
    return text;
  };

  EXPECT_EQ(times(0, 180, {}), "0 60 120 180 ");
  EXPECT_EQ(times(1, 179, {}), "60 120 ");
  EXPECT_EQ(times(1, 59, {}), "");
  EXPECT_EQ(times(0, 240, {.gap = 3}), "60 120 240 ");
  EXPECT_EQ(times(60, 240, {.offMinute = 3}), "60 120 150 180 240 ");
  EXPECT_EQ(times(0, 180, {.duplicate = 2}), "0 0 60 120 120 180 ");
  EXPECT_EQ(times(0, 180, {.notUploaded = 2}), "0~ 60 120~ 180 ");
  EXPECT_EQ(times(60, 240, {.gap = 4, .offMinute = 3, .duplicate = 2, .notUploaded = 2}),
            "60 120~ 120~ 150 180 ");
}

TEST_F(Card, TakesACallOfOneMonthWholeOrNotAtAll) {
  EventWriter events;
  events.Append({EventAt(kNoon)});
  util::Database(kMarchEvents)
      .Execute(
          "CREATE TRIGGER refuse BEFORE INSERT ON event_tbl WHEN NEW.RecordTime='12:00:02' "
          "BEGIN SELECT RAISE(ABORT,'refused'); END");
  HistoryWriter history;
  history.Append({Row(60), {0x02040301, 60, 1}});
  util::Database(kHistoryPath)
      .Execute(
          "CREATE TRIGGER refuse BEFORE INSERT ON history_0204_tbl "
          "BEGIN SELECT RAISE(ABORT,'refused'); END");

  const std::size_t recorded =
      events.Append({EventAt(kFirstOfMarch - 1), EventAt(kNoon + 1), EventAt(kNoon + 2)});

  EXPECT_EQ(recorded, 1U);
  EXPECT_NE(events.Trouble(), "");
  EXPECT_THAT(*events.Rows(kNoon), SizeIs(1));
  EXPECT_FALSE(history.Append({Row(120), {0x02040301, 120, 1}}));
  EXPECT_NE(history.Trouble(), "");
  EXPECT_THAT(*history.Rows(kPoint), SizeIs(1));
}

TEST_F(Card, WaitsForTheLocksOfOthersAndThenGivesUp) {
  EventWriter events(kImpatient);
  HistoryWriter history(kImpatient);
  events.Append({EventAt(kNoon)});
  history.Append({Row(60)});
  for (const char* lock :
       {"BEGIN; SELECT COUNT(*) FROM sqlite_master", "BEGIN IMMEDIATE", "BEGIN EXCLUSIVE"}) {
    SCOPED_TRACE(lock);
    {
      util::Database otherEvents(kMarchEvents);
      util::Database otherHistory(kHistoryPath);
      ASSERT_TRUE(otherEvents.Execute(lock) && otherHistory.Execute(lock));

      EXPECT_EQ(events.Append({EventAt(kNoon)}), 0U);
      EXPECT_FALSE(history.Append({Row(60)}));
      EXPECT_NE(events.Trouble(), "");
    }
    EXPECT_EQ(events.Append({EventAt(kNoon)}), 1U);
    EXPECT_TRUE(history.Append({Row(60)}));
    EXPECT_EQ(events.Trouble() + history.Trouble(), "");
  }
  EXPECT_THAT(*events.Rows(kNoon), SizeIs(4));
  EXPECT_THAT(*history.Rows(kPoint), SizeIs(4));
}

// Has an alarm in every minute.
Plant BusyPlant() {
  return PlantOf(test::Points(PointType::kDi, 60));
}

// The events of March in the order of recording.
std::vector<std::string> Recorded() {
  return Lines(kMarchEvents,
               "SELECT printf('%d %.3f',DataId,triggervalue) FROM event_tbl ORDER BY Pid");
}

std::vector<std::string> Texts(const std::vector<AlarmEvent>& events) {
  std::vector<std::string> texts;
  for (const AlarmEvent& event : events) {
    texts.push_back(util::Format("%u %.3f", event.dataId, event.triggerValue));
  }
  return texts;
}

// The minutes of a point's history, counted from noon.
std::vector<std::string> RecordedMinutes() {
  return Lines(kHistoryPath, util::Format("SELECT (UnixTime-%lld)/60.0||'' FROM history_0103_tbl "
                                          "WHERE dataid=%u ORDER BY UnixTime,Pid",
                                          static_cast<long long>(kNoon), kPoint));
}

RecordingPlan EventsEvery(std::int64_t seconds, std::int64_t burst = 0) {
  return {.eventInterval = seconds, .burst = burst, .history = false};
}

TEST_F(Card, GetsTheLatestAlarmOfEveryInterval) {
  const Plant plant = BusyPlant();
  std::vector<AlarmEvent> expected = LatestAlarms(plant, kNoon, kDay, 21);
  for (int turn = 1; turn <= 3; ++turn) {
    const auto latest = LatestAlarms(plant, kNoon + turn * 60, 60, 1);
    expected.insert(expected.end(), latest.begin(), latest.end());
  }
  ASSERT_THAT(expected, SizeIs(24));
  Recorder recorder(plant, EventsEvery(60, 21), kNoon);
  const std::size_t due = recorder.EventsDue();

  recorder.Follow(kNoon + 59);
  const std::size_t burst = Recorded().size();
  recorder.Follow(kNoon + 60);
  recorder.Follow(kNoon + 180);
  recorder.Follow(kNoon + 1);  // the clock goes back
  recorder.Follow(kNoon + 180);

  EXPECT_EQ(due, 21U);
  EXPECT_EQ(burst, 21U);
  EXPECT_THAT(Recorded(), ElementsAreArray(Texts(expected)));
}

TEST_F(Card, GetsTheHistoryOfEveryMinuteOnce) {
  const RecordingPlan plan{.eventInterval = 0, .historyMinutes = 70};
  Recorder(PlantOf({kPoint}), plan, kNoon + 30).Follow(kNoon + 30);
  Recorder again(PlantOf({kPoint}), plan, kNoon + 30);

  again.Follow(kNoon + 59);
  again.Follow(kNoon + 60);
  again.Follow(kNoon + 119);
  again.Follow(kNoon + 2 * kDay);  // the clock is set: the days between are not filled in
  again.Follow(kNoon + 2 * kDay + 60);

  const auto minutes = RecordedMinutes();
  ASSERT_THAT(minutes, SizeIs(72));
  for (int i = 0; i <= 70; ++i) {
    EXPECT_EQ(minutes[static_cast<std::size_t>(i)], std::to_string(i - 69) + ".0");
  }
  EXPECT_EQ(minutes.back(), "2881.0");
}

}  // namespace
