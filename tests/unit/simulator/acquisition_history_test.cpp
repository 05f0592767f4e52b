// Minute history: the rows of a span, how they stand in the database, and that none is lost to
// other programs.
#include "acquisition_card_fixture.h"

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <ostream>

#include "acquisition/historywriter.h"
#include "acquisition/signals.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using History = test::CardTest;

constexpr std::uint32_t kPoint = 0x01030001;
constexpr std::chrono::milliseconds kImpatient{20};

HistoryRow Row(std::int64_t unixTime, double value = 1, std::int32_t upload = 1) {
  return {kPoint, unixTime, value, upload};
}

// "0 1 1": the minutes of the rows from noon on, a half one with its seconds, "~" where the value
// may not be handed out.
std::string Minutes(const std::vector<HistoryRow>& rows) {
  std::string text;
  for (const HistoryRow& row : rows) {
    const std::int64_t seconds = row.unixTime - test::kNoon;
    if (!text.empty()) text += ' ';
    text += std::to_string(seconds / 60);
    if (seconds % 60 != 0) text += ":" + std::to_string(seconds % 60);
    if (row.upload != 1) text += '~';
  }
  return text;
}

TEST(HistoryRows, HoldTheSignalOfEveryPointAtEveryMinute) {
  const std::int64_t later = test::kNoon + 60;

  const auto rows = HistoryRows({kPoint, 0x02040301}, test::kNoon, later);

  EXPECT_THAT(rows,
              ElementsAre(HistoryRow{kPoint, test::kNoon, SignalValue(kPoint, test::kNoon)},
                          HistoryRow{0x02040301, test::kNoon, SignalValue(0x02040301, test::kNoon)},
                          HistoryRow{kPoint, later, SignalValue(kPoint, later)},
                          HistoryRow{0x02040301, later, SignalValue(0x02040301, later)}));
}

// What it is for: a span in seconds from noon, its faults, and the minutes that come out.
struct Span {
  const char* name;
  std::int64_t first;
  std::int64_t last;
  HistoryFaults faults;
  const char* minutes;
};

void PrintTo(const Span& row, std::ostream* out) {
  *out << row.name;
}

class HistorySpan : public testing::TestWithParam<Span> {};

TEST_P(HistorySpan, HasTheseMinutes) {
  const Span& span = GetParam();

  const auto rows =
      HistoryRows({kPoint}, test::kNoon + span.first, test::kNoon + span.last, span.faults);

  EXPECT_EQ(Minutes(rows), span.minutes);
}

// Noon is minute 28 496 400 since 1970, which 2, 3 and 4 divide.
INSTANTIATE_TEST_SUITE_P(
    Rows, HistorySpan,
    testing::Values(Span{"BothEnds", 0, 180, {}, "0 1 2 3"},
                    Span{"BeginsInAMinute", 1, 120, {}, "1 2"},
                    Span{"EndsInAMinute", 0, 119, {}, "0 1"}, Span{"NoWholeMinute", 1, 59, {}, ""},
                    Span{"Backwards", 60, 0, {}, ""}, Span{"Gap", 0, 360, {.gap = 3}, "1 2 4 5"},
                    Span{"OnlyGaps", 0, 180, {.gap = 1}, ""},
                    Span{"OffMinute", 60, 240, {.offMinute = 3}, "1 2 2:30 3 4"},
                    Span{"Duplicate", 0, 180, {.duplicate = 2}, "0 0 1 2 2 3"},
                    Span{"NotUploaded", 0, 180, {.notUploaded = 2}, "0~ 1 2~ 3"},
                    Span{"GapAndOffMinute", 60, 240, {.gap = 3, .offMinute = 3}, "1 2 2:30 4"},
                    Span{"AllAtOnce",
                         60,
                         240,
                         {.gap = 4, .offMinute = 3, .duplicate = 2, .notUploaded = 2},
                         "1 2~ 2~ 2:30 3"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(History, StandsInTheTableOfItsDevice) {
  HistoryWriter writer;

  const bool recorded = writer.Append({{0x01030001, 60, 1.5}, {0xC10A0002, 120, 2.5, 0}});

  EXPECT_TRUE(recorded);
  EXPECT_THAT(test::Lines(test::kHistoryPath,
                          "SELECT name FROM sqlite_master WHERE type='table' ORDER BY name"),
              ElementsAre("history_0103_tbl", "history_c10a_tbl"));
  EXPECT_THAT(test::Lines(test::kHistoryPath,
                          "SELECT dataid||'|'||UnixTime||'|'||TriggerValue||'|'||Upload "
                          "FROM history_0103_tbl"),
              ElementsAre("16973825|60|1.5|1"));
  EXPECT_THAT(test::Lines(test::kHistoryPath,
                          "SELECT dataid||'|'||UnixTime||'|'||TriggerValue||'|'||Upload "
                          "FROM history_c10a_tbl"),
              ElementsAre("-1056309246|120|2.5|0"));
}

TEST_F(History, StandsInTablesWithARowNumberTypedColumnsAndAnIndex) {
  HistoryWriter().Append({Row(60)});

  EXPECT_THAT(test::Lines(test::kHistoryPath,
                          "SELECT name||' '||type FROM pragma_table_info('history_0103_tbl')"),
              ElementsAre("Pid INTEGER", "dataid INTEGER", "UnixTime INTEGER", "TriggerValue REAL",
                          "Upload INTEGER"));
  EXPECT_THAT(test::Lines(test::kHistoryPath,
                          "SELECT group_concat(name) FROM pragma_index_info("
                          "'history_0103_tbl_idx')"),
              ElementsAre("dataid,UnixTime"));
}

TEST_F(History, IsFoundByNumbersInQuotes) {
  HistoryWriter().Append({{0xC10A0002, 540, 1}, {0xC10A0002, 600, 2}, {0xC10A0002, 660, 3}});

  const auto values = test::Lines(
      test::kHistoryPath,
      "select TriggerValue from history_c10a_tbl where dataid='-1056309246' and UnixTime<='600' "
      "and UnixTime>='600' order by UnixTime");

  EXPECT_THAT(values, ElementsAre("2.0"));
}

TEST_F(History, IsReadBackInTimeOrderWithEveryRow) {
  HistoryWriter writer;
  const std::vector<HistoryRow> rows = {Row(120, 0.1), Row(60, 123456.789), Row(90, 3, 0),
                                        Row(60, 4)};
  writer.Append(rows);

  const auto read = writer.Rows(kPoint);

  ASSERT_TRUE(read);
  EXPECT_THAT(*read, ElementsAre(rows[1], rows[3], rows[2], rows[0]));
}

TEST_F(History, OfAPointIsReadWithoutItsNeighbours) {
  HistoryWriter writer;
  writer.Append({Row(60), {kPoint + 1, 60, 9}});

  const auto read = writer.Rows(kPoint);

  ASSERT_TRUE(read);
  EXPECT_THAT(*read, ElementsAre(Row(60)));
}

TEST_F(History, OfAnUnknownDeviceIsNotRead) {
  HistoryWriter writer;
  writer.Append({Row(60)});

  EXPECT_FALSE(writer.Rows(0x02040301));
}

TEST_F(History, WithoutADatabaseIsNotReadAndNoFileIsMade) {
  EXPECT_FALSE(HistoryWriter().Rows(kPoint));
  EXPECT_THAT(test::List(test::kCard), IsEmpty());
}

TEST_F(History, IsOnlyMissingWhereAPointHasNoRowAtThatTime) {
  HistoryWriter writer;
  writer.Append({Row(60, 1), Row(180, 3)});

  const bool recorded =
      writer.AppendMissing({Row(60, 100), Row(120, 2), Row(180, 300), {kPoint + 1, 60, 5}});

  EXPECT_TRUE(recorded);
  EXPECT_THAT(*writer.Rows(kPoint), ElementsAre(Row(60, 1), Row(120, 2), Row(180, 3)));
  EXPECT_THAT(*writer.Rows(kPoint + 1), SizeIs(1));
}

TEST_F(History, KeepsTheDuplicatesOfMissingRows) {
  HistoryWriter writer;

  writer.AppendMissing({Row(60), Row(60)});
  writer.AppendMissing({Row(60), Row(60)});

  EXPECT_THAT(*writer.Rows(kPoint), SizeIs(2));
}

// The counter in a database's header, which every transaction that writes raises by one.
std::uint32_t TransactionsOf(const char* path) {
  constexpr std::size_t kOffset = 24;
  const std::string header = test::ReadFile(path).substr(kOffset, 4);
  std::uint32_t count = 0;
  for (const char byte : header) count = (count << 8) | static_cast<unsigned char>(byte);
  return count;
}

TEST_F(History, OfAllPointsIsOneTransactionAMinute) {
  const auto points = test::Points(PointType::kAi, 429);
  HistoryWriter writer;
  writer.Append(HistoryRows(points, test::kNoon, test::kNoon));
  const std::uint32_t before = TransactionsOf(test::kHistoryPath);

  const bool recorded = writer.Append(HistoryRows(points, test::kNoon + 60, test::kNoon + 60));

  EXPECT_TRUE(recorded);
  EXPECT_EQ(TransactionsOf(test::kHistoryPath), before + 1);
  EXPECT_THAT(*writer.Rows(points.back()), SizeIs(2));
}

TEST_F(History, IsRecordedWholeOrNotAtAll) {
  HistoryWriter writer;
  writer.Append({Row(60), {0x02040301, 60, 1}});
  ASSERT_TRUE(test::Change(test::kHistoryPath,
                           "CREATE TRIGGER refuse BEFORE INSERT ON history_0204_tbl "
                           "BEGIN SELECT RAISE(ABORT,'refused'); END"));

  const bool recorded = writer.Append({Row(120), {0x02040301, 120, 1}});

  EXPECT_FALSE(recorded);
  EXPECT_EQ(writer.Trouble(), "cannot write /media/mmcblk0p1/demand_history.db: refused");
  EXPECT_THAT(*writer.Rows(kPoint), SizeIs(1));
}

class LockedHistory : public test::CardTest, public testing::WithParamInterface<test::Lock> {};

TEST_P(LockedHistory, WaitsForTheOtherProgram) {
  HistoryWriter writer;
  writer.Append({Row(60)});
  test::LockHolder other(test::kHistoryPath, GetParam());

  auto recorded = std::async(std::launch::async, [&writer] { return writer.Append({Row(120)}); });
  const auto whileLocked = recorded.wait_for(std::chrono::milliseconds(50));
  ASSERT_TRUE(other.LetGo());

  EXPECT_EQ(whileLocked, std::future_status::timeout);
  EXPECT_TRUE(recorded.get());
  EXPECT_THAT(*writer.Rows(kPoint), ElementsAre(Row(60), Row(120)));
}

TEST_P(LockedHistory, CanBeAppendedAgainWhenThePatienceHasRunOut) {
  HistoryWriter writer(kImpatient);
  writer.Append({Row(60)});
  test::LockHolder other(test::kHistoryPath, GetParam());

  const bool whileLocked = writer.Append({Row(120)});
  const std::string trouble = writer.Trouble();
  ASSERT_TRUE(other.LetGo());
  const bool afterwards = writer.Append({Row(120)});

  EXPECT_FALSE(whileLocked);
  EXPECT_EQ(trouble, "cannot write /media/mmcblk0p1/demand_history.db: database is locked");
  EXPECT_TRUE(afterwards);
  EXPECT_EQ(writer.Trouble(), "");
  EXPECT_THAT(*writer.Rows(kPoint), ElementsAre(Row(60), Row(120)));
}

INSTANTIATE_TEST_SUITE_P(Rows, LockedHistory,
                         testing::Values(test::kReading, test::kAboutToWrite, test::kWriting),
                         [](const auto& row) { return row.param.name; });

// Reads the way the gateway's cloud link does, over and over, until the series is whole.
int ReadUntilWhole(util::Database& database) {
  constexpr int kMinutes = 100;
  for (int round = 0; round < 20'000; ++round) {
    util::Statement rows = database.Prepare(
        "SELECT UnixTime FROM history_0103_tbl WHERE dataid='16973825' ORDER BY UnixTime");
    int minutes = 0;
    while (rows && rows.NextRow()) ++minutes;
    if (minutes == kMinutes) return kMinutes;
    usleep(1000);
  }
  return 0;
}

TEST_F(History, IsCompleteForAProgramThatReadsMeanwhile) {
  HistoryWriter writer;
  ASSERT_TRUE(writer.Append({Row(60)}));
  test::OtherProgram reader(
      test::kHistoryPath, [](util::Database&) { return 0; }, ReadUntilWhole);
  auto read = std::async(std::launch::async, [&reader] { return reader.End(); });

  int recorded = 1;
  for (int minute = 2; minute <= 100; ++minute) {
    recorded += writer.Append({Row(60 * minute)}) ? 1 : 0;
  }

  EXPECT_EQ(recorded, 100);
  EXPECT_EQ(read.get(), 100);
}

}  // namespace
