// What the acquisition side records on the card.
#include <gmock/gmock.h>

#include "acquisition/eventwriter.h"
#include "acquisition/historywriter.h"
#include "acquisition/recorder.h"
#include "acquisition_fixture.h"

namespace {

using namespace test;
using ::testing::ElementsAre;

using Card = AcquisitionTest;

constexpr std::uint32_t kPoint = 0x01030001;
constexpr std::int64_t kFirstOfMarch = 1709222400;  // 2024-03-01 00:00 local time

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

  EXPECT_THAT(DatabaseFile(kMarchEvents)
                  .Lines("SELECT name||' '||type FROM pragma_table_info('event_tbl')"),
              ElementsAre("Pid INTEGER", "RecordDate TEXT", "RecordTime TEXT", "DataId INTEGER",
                          "threshold REAL", "triggervalue REAL", "eventtype INTEGER",
                          "grade INTEGER", "upflag INTEGER", "upload INTEGER"));
  EXPECT_THAT(
      DatabaseFile(kMarchEvents)
          .Lines(
              "SELECT Pid||'|'||RecordDate||'|'||RecordTime||'|'||DataId||'|'||threshold||'|'||"
              "triggervalue||'|'||eventtype||'|'||grade||'|'||upflag||'|'||upload FROM event_tbl"),
      ElementsAre("1|2024-03-07|12:00:03|-64511|30.5|0.1|1|2|0|0",
                  "2|2024-03-01|00:00:00|16978211|0.0|0.0|0|1|1|0"));
  EXPECT_THAT(DatabaseFile("/media/mmcblk0p1/202402_event.db")
                  .Lines("SELECT RecordDate||' '||RecordTime FROM event_tbl"),
              ElementsAre("2024-02-29 23:59:59"));
}

TEST_F(Card, HoldsHistoryInATableOfItsDevice) {
  HistoryWriter writer;

  EXPECT_TRUE(writer.Append({{kPoint, 60, 1.5}, {0xC10A0002, 120, 2.5, 0}}));

  EXPECT_THAT(DatabaseFile(kHistoryPath)
                  .Lines("SELECT name||' '||type FROM pragma_table_info('history_0103_tbl')"),
              ElementsAre("Pid INTEGER", "dataid INTEGER", "UnixTime INTEGER", "TriggerValue REAL",
                          "Upload INTEGER"));
  EXPECT_THAT(
      DatabaseFile(kHistoryPath)
          .Lines("SELECT group_concat(name) FROM pragma_index_info('history_0103_tbl_idx')"),
      ElementsAre("dataid,UnixTime"));
  constexpr char kRow[] = "SELECT dataid||'|'||UnixTime||'|'||TriggerValue||'|'||Upload FROM ";
  EXPECT_THAT(DatabaseFile(kHistoryPath).Lines(std::string(kRow) + "history_0103_tbl"),
              ElementsAre("16973825|60|1.5|1"));
  EXPECT_THAT(DatabaseFile(kHistoryPath).Lines(std::string(kRow) + "history_c10a_tbl"),
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

TEST_F(Card, GetsEventsAgainAfterTheClockWasSetBack) {
  WriteSmallPlant();
  const RecordingPlan plan{.eventInterval = 600, .history = true};
  Recorder recorder(ReadPlant(kTemplatePath).value(), plan, kNoon);
  recorder.Follow(kNoon + 3600);
  const std::size_t before = EventWriter().Rows(kNoon)->size();
  const std::size_t minutes = HistoryWriter().Rows(kPoint)->size();

  recorder.Follow(kNoon + 1800);
  recorder.Follow(kNoon + 3600);

  EXPECT_EQ(before, 6U);
  EXPECT_EQ(EventWriter().Rows(kNoon)->size(), 9U);
  EXPECT_EQ(HistoryWriter().Rows(kPoint)->size(), minutes);
}

TEST_F(Card, GetsNoEventTwiceAfterTheClockWasPutRight) {
  WriteSmallPlant();
  const RecordingPlan plan{.eventInterval = 600, .history = false};
  Recorder recorder(ReadPlant(kTemplatePath).value(), plan, kNoon);
  recorder.Follow(kNoon + 600);

  recorder.Follow(kNoon + 590);
  recorder.Follow(kNoon + 610);

  EXPECT_EQ(EventWriter().Rows(kNoon)->size(), 1U);
}

}  // namespace
