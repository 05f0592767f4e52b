// The minute values of a point, and whether one is missing.
#include "datasource/demandhistory.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/faults.h"
#include "support/files.h"
#include "support/gateway.h"
#include "support/historydatabase.h"

using namespace test;
using namespace testing;

namespace {

constexpr std::uint32_t kPump = 0x01030001;
constexpr std::time_t kTen = 1709776800;  // 2024-03-07 10:00:00 on the gateway
constexpr std::time_t kMinute = 60;
using enum MinuteSeries;

using Values = std::vector<ST_SINGLE_POINT_VALUE>;

// Minutes from ten o'clock of the values found.
std::vector<std::time_t> MinutesOf(const Values& values) {
  std::vector<std::time_t> minutes;
  for (const auto& value : values) minutes.push_back((value.UnixTime - kTen) / kMinute);
  return minutes;
}

std::vector<double> NumbersOf(const Values& values) {
  std::vector<double> numbers;
  for (const auto& value : values) numbers.push_back(value.TriggerValue);
  return numbers;
}

MinuteSeries Read(Values& values, std::time_t begin, std::time_t end, std::uint32_t dataId = kPump,
                  std::time_t lastLiveTime = 0) {
  const ST_SINGLE_CALL_POINT point{.pointId = dataId & 0xFFFF,
                                   .beginTime = static_cast<std::uint32_t>(begin),
                                   .endTime = static_cast<std::uint32_t>(end)};
  return ReadMinutes(dataId, point, static_cast<std::uint32_t>(lastLiveTime), values);
}

constexpr std::time_t kLast = kTen + 3 * kMinute;
MinuteSeries ReadFour(Values& values) {
  return Read(values, kTen, kLast);
}

class DemandHistory : public GatewayTest {};

TEST_F(DemandHistory, AppendsTheMinutesFromTheFirstToTheLastInRisingTime) {
  HistoryDatabase()
      .Series(kPump, kTen + 2 * kMinute, kTen + 5 * kMinute)
      .Series(kPump, kTen - 2 * kMinute, kTen + kMinute);
  Values values = {{.UnixTime = kTen - 7 * kMinute, .TriggerValue = 8.5}};

  EXPECT_EQ(ReadFour(values), kComplete);
  EXPECT_THAT(MinutesOf(values), ElementsAre(-7, 0, 1, 2, 3));
  EXPECT_THAT(NumbersOf(values), ElementsAre(8.5, 2, 3, 0, 1));
}

TEST_F(DemandHistory, ReadsFourteenDaysAndStopsAfterOneMoreValue) {
  constexpr int kMost = 14 * 24 * 60;
  HistoryDatabase().Series(kPump, kTen, kTen + (kMost + 5) * kMinute);
  Values most;
  Values more;

  EXPECT_EQ(Read(most, kTen, kTen + (kMost - 1) * kMinute), kComplete);
  EXPECT_THAT(most, SizeIs(kMost));
  EXPECT_EQ(Read(more, kTen, kTen + (kMost + 5) * kMinute), kIncomplete);
  EXPECT_THAT(more, SizeIs(kMost + 1));
}

// Rows, and what a reading of the minutes 0 to 3 finds.
struct Row {
  double minute;
  int upload = 1;
};

struct Series {
  const char* name;
  std::vector<Row> rows;
  MinuteSeries result;
  std::vector<std::time_t> minutes;
};

class DemandHistorySeries : public DemandHistory, public WithParamInterface<Series> {};

TEST_P(DemandHistorySeries, IsReadMinuteByMinute) {
  HistoryDatabase database;
  database.Table(kPump);
  for (const Row& row : GetParam().rows) {
    database.Add({.time = kTen + std::lround(row.minute * kMinute), .upload = row.upload});
  }
  Values values;

  EXPECT_EQ(ReadFour(values), GetParam().result);
  EXPECT_EQ(MinutesOf(values), GetParam().minutes);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DemandHistorySeries,
    ::testing::Values(
        Series{"NoRows", {}, kIncomplete, {}},
        // A gap ends the reading, whatever follows.
        Series{"WithoutTheFirst", {{1}, {2}, {3}}, kIncomplete, {}},
        Series{"WithoutTheThird", {{0}, {1}, {3}}, kIncomplete, {0, 1}},
        Series{"WithoutTheLast", {{0}, {1}, {2}}, kIncomplete, {0, 1, 2}},
        // A row off the minute and a duplicate are skipped.
        Series{"ASecondAfter", {{0}, {1}, {61. / 60}, {2}, {3}}, kComplete, {0, 1, 2, 3}},
        Series{"ASecondBefore", {{0}, {1}, {119. / 60}, {2}, {3}}, kComplete, {0, 1, 2, 3}},
        Series{"ASecondLate", {{0}, {1}, {121. / 60}, {3}}, kIncomplete, {0, 1}},
        Series{"OffAtTheEnd", {{0}, {1}, {2}, {2.5}}, kIncomplete, {0, 1, 2}},
        Series{"Twice", {{0}, {1}, {1}, {2}, {3}}, kComplete, {0, 1, 2, 3}},
        // A row that is not released counts as there, but gives no value.
        Series{"NotReleased", {{0}, {1}, {2, 0}, {3, 0}}, kComplete, {0, 1}},
        Series{"OtherMarks", {{0, 2}, {1, -1}, {2, 3}, {3}}, kComplete, {3}}),
    [](const auto& test) { return test.param.name; });

// The rows of a point, the span that is read, and the time of the device's last live value.
struct Span {
  const char* name;
  std::time_t firstRow, lastRow;
  std::time_t begin, end;
  MinuteSeries result;
  std::size_t values;
  std::time_t lastLiveTime = 0;
};

class DemandHistorySpan : public DemandHistory, public WithParamInterface<Span> {};

TEST_P(DemandHistorySpan, IsReadAsFarAsItsTimesAllow) {
  const Span& span = GetParam();
  HistoryDatabase().Series(kPump, span.firstRow, span.lastRow);
  Values values;

  EXPECT_EQ(Read(values, span.begin, span.end, kPump, span.lastLiveTime), span.result);
  EXPECT_THAT(values, SizeIs(span.values));
}

INSTANTIATE_TEST_SUITE_P(
    Spans, DemandHistorySpan,
    ::testing::Values(
        Span{"EndsOffTheMinute", kTen, kTen + 120, kTen, kTen + 90, kIncomplete, 2},
        Span{"EndsAMinuteBeforeItBegins", kTen - 300, kTen, kTen, kTen - 60, kComplete, 0},
        Span{"EndsLongBeforeItBegins", kTen - 300, kTen, kTen, kTen - 120, kIncomplete, 0},
        Span{"BeginsAtZero", 0, 120, 0, 120, kComplete, 3},
        // The database is asked for times as signed numbers.
        Span{"BeginsAfter2038", 2208988800, 2208988860, 2208988800, 2208988860, kIncomplete, 0},
        Span{"EndsAfter2038", 2147483640, 2147483700, 2147483640, 2147483700, kIncomplete, 0},
        // A series begins after the minute of the last live value.
        Span{"LiveInTheMinuteBefore", kTen, kLast, kTen, kLast, kComplete, 4, kTen - 1},
        Span{"LiveInTheFirst", kTen, kLast, kTen, kLast, kComplete, 3, kTen + 59},
        Span{"LiveAtTheSecond", kTen, kLast, kTen, kLast, kIncomplete, 0, kTen + kMinute},
        Span{"LiveInTheLastWithoutRows", 0, 0, kTen, kLast, kComplete, 0, kLast + 59}),
    [](const auto& test) { return test.param.name; });

TEST_F(DemandHistory, NamesATableByFourHexadecimalDigitsAndAPointByASignedNumber) {
  DatabaseFile file(kHistoryDatabase);
  const std::string columns = "(dataid integer, UnixTime integer, TriggerValue, Upload)";
  file.Run("create table history_000a_tbl" + columns);
  file.Run("create table history_c1ff_tbl" + columns);
  file.Run("insert into history_000a_tbl values(655362,1709776800,9,1),(655361,1709776800,1,1)");
  file.Run("insert into history_c1ff_tbl values(-1040252927,1709776800,2,1)");
  Values values;

  EXPECT_EQ(Read(values, kTen, kTen, 0x000A0001), kComplete);
  EXPECT_EQ(Read(values, kTen, kTen, 0xC1FF0001), kComplete);
  EXPECT_THAT(NumbersOf(values), ElementsAre(1, 2));
}

TEST_F(DemandHistory, IsIncompleteWithoutADatabaseAndMakesNone) {
  Values values;

  EXPECT_EQ(ReadFour(values), kIncomplete);
  EXPECT_FALSE(Exists(kHistoryDatabase));
}

// What happens to the database, which holds the whole series, and how many values are read.
struct Damage {
  const char* name;
  std::function<void(HistoryDatabase&)> inflict;
  std::size_t values = 0;
};

class DemandHistoryDamage : public DemandHistory, public WithParamInterface<Damage> {};

TEST_P(DemandHistoryDamage, MakesTheHistoryUnreadable) {
  HistoryDatabase database;
  database.Series(kPump, kTen, kTen + 3 * kMinute);
  GetParam().inflict(database);
  const NoLockWaits impatient;
  Values values;

  EXPECT_EQ(ReadFour(values), kUnreadable);
  EXPECT_THAT(values, SizeIs(GetParam().values));
}

INSTANTIATE_TEST_SUITE_P(
    Damages, DemandHistoryDamage,
    ::testing::Values(
        Damage{"Nonsense", [](auto&) { WriteFile(kHistoryDatabase, std::string(4096, 'x')); }},
        Damage{"NoTable", [](auto& file) { file.Run("drop table history_0103_tbl"); }},
        Damage{"Locked", [](auto& file) { file.Run("begin exclusive"); }},
        Damage{"NotOpened", [](auto&) { FailCalls(Call::kSqliteOpen); }},
        Damage{"BetweenTwoRows", [](auto&) { FailCalls(Call::kSqliteStep, 1, 1); }, 1},
        Damage{"AfterTheLastRow", [](auto&) { FailCalls(Call::kSqliteStep, 1, 4); }, 4}),
    [](const auto& test) { return test.param.name; });

TEST_F(DemandHistory, WaitsTwoSecondsForALock) {
  Values values;
  HistoryDatabase().Table(kPump);

  ReadFour(values);

  EXPECT_EQ(LatestLockWait(), 2000);
}

}  // namespace
