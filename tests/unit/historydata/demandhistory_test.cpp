// The demand-history reader: a point's minutes, and whether one is missing.
#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <ctime>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "historydata/historydata.h"
#include "livevaluetimes.h"
#include "support/gateway.h"
#include "support/historydatabase.h"

using test::HistoryDatabase;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr std::uint32_t kPump = 0x01030001;
constexpr std::time_t kTen = 1709776800;  // 2024-03-07 10:00:00 on the gateway
constexpr std::time_t kMinute = 60;

using Values = std::vector<ST_SINGLE_POINT_VALUE>;

// Minutes from ten o'clock of the values found.
std::vector<double> MinutesOf(const Values& values) {
  std::vector<double> minutes;
  for (const auto& value : values) {
    minutes.push_back((static_cast<double>(value.UnixTime) - static_cast<double>(kTen)) / kMinute);
  }
  return minutes;
}

std::vector<double> NumbersOf(const Values& values) {
  std::vector<double> numbers;
  for (const auto& value : values) numbers.push_back(value.TriggerValue);
  return numbers;
}

// The outcome of one call.
struct Found {
  std::int32_t result = 0;
  Values values;
};

Found Recall(std::uint32_t dataId, std::uint32_t beginTime, std::uint32_t endTime) {
  const ST_SINGLE_CALL_POINT point{
      .pointId = dataId & 0xFFFF, .beginTime = beginTime, .endTime = endTime};
  Found found;
  found.result = GetCHistoryDataInstance().GetRecallFlag(dataId, &point, &found.values);
  return found;
}

// The pump's minutes, counted from ten o'clock.
Found RecallMinutes(int first, int last) {
  return Recall(kPump, static_cast<std::uint32_t>(kTen + first * kMinute),
                static_cast<std::uint32_t>(kTen + last * kMinute));
}

class DemandHistory : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    test::ForgetLiveValueTimes();
  }
};

TEST_F(DemandHistory, GivesEveryMinuteFromTheFirstToTheLast) {
  HistoryDatabase().Series(kPump, kTen, kTen + 3 * kMinute);

  const Found found = RecallMinutes(0, 3);

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(MinutesOf(found.values), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(NumbersOf(found.values), ElementsAre(0, 1, 2, 3));
}

TEST_F(DemandHistory, GivesNoMinuteBeforeTheFirstOrBehindTheLast) {
  HistoryDatabase().Series(kPump, kTen - 2 * kMinute, kTen + 5 * kMinute);

  const Found found = RecallMinutes(0, 3);

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(MinutesOf(found.values), ElementsAre(0, 1, 2, 3));
}

TEST_F(DemandHistory, OfOneMinuteIsWhole) {
  HistoryDatabase().Add({.time = kTen, .value = 21.5});

  const Found found = RecallMinutes(0, 0);

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(NumbersOf(found.values), ElementsAre(21.5));
}

TEST_F(DemandHistory, OfFourteenDaysIsGivenInOneCallAndNoneOfMore) {
  constexpr int kMost = 14 * 24 * 60;
  HistoryDatabase().Series(kPump, kTen, kTen + (kMost + 60) * kMinute);

  const Found most = RecallMinutes(1, kMost);
  const Found more = RecallMinutes(1, kMost + 60);

  EXPECT_EQ(most.result, 1);
  EXPECT_THAT(most.values, SizeIs(kMost));
  EXPECT_EQ(more.result, 0);
  EXPECT_THAT(more.values, SizeIs(kMost + 1));
}

TEST_F(DemandHistory, ComesInRisingTimeWhateverTheOrderOfItsRecording) {
  HistoryDatabase()
      .Add({.time = kTen + 2 * kMinute, .value = 2})
      .Add({.time = kTen, .value = 0})
      .Add({.time = kTen + kMinute, .value = 1});

  const Found found = RecallMinutes(0, 2);

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(MinutesOf(found.values), ElementsAre(0, 1, 2));
}

TEST_F(DemandHistory, IsAppendedToTheValuesThatAreThere) {
  HistoryDatabase().Series(kPump, kTen, kTen);
  Values values = {{.UnixTime = 7, .TriggerValue = 8}};
  const ST_SINGLE_CALL_POINT point{.pointId = 1, .beginTime = kTen, .endTime = kTen};

  GetCHistoryDataInstance().GetRecallFlag(kPump, &point, &values);

  EXPECT_THAT(NumbersOf(values), ElementsAre(8, 0));
}

TEST_F(DemandHistory, KeepsEveryBitOfAValue) {
  HistoryDatabase()
      .Add({.time = kTen, .value = 0.1})
      .Add({.time = kTen + kMinute, .value = -1e22})
      .Add({.time = kTen + 2 * kMinute, .value = std::numeric_limits<double>::denorm_min()});

  const Found found = RecallMinutes(0, 2);

  EXPECT_THAT(NumbersOf(found.values),
              ElementsAre(0.1, -1e22, std::numeric_limits<double>::denorm_min()));
}

// A series of rows and what becomes of a recall of the minutes 0 to 3.
struct Row {
  double minute;
  int upload = 1;
};

struct Series {
  const char* name;
  std::vector<Row> rows;
  std::int32_t result;
  std::vector<double> minutes;
};

void PrintTo(const Series& series, std::ostream* out) {
  *out << series.name;
}

class MinuteSeries : public DemandHistory, public ::testing::WithParamInterface<Series> {};

TEST_P(MinuteSeries, IsWalkedMinuteByMinute) {
  HistoryDatabase database;
  database.Table(kPump);
  for (const Row& row : GetParam().rows) {
    database.Add({.time = kTen + std::lround(row.minute * kMinute), .upload = row.upload});
  }

  const Found found = RecallMinutes(0, 3);

  EXPECT_EQ(found.result, GetParam().result);
  EXPECT_EQ(MinutesOf(found.values), GetParam().minutes);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MinuteSeries,
    ::testing::Values(
        Series{"Whole", {{0}, {1}, {2}, {3}}, 1, {0, 1, 2, 3}}, Series{"NoRows", {}, 0, {}},
        // A gap ends the walk, whatever follows.
        Series{"WithoutTheFirst", {{1}, {2}, {3}}, 0, {}},
        Series{"WithoutTheSecond", {{0}, {2}, {3}}, 0, {0}},
        Series{"WithoutTheThird", {{0}, {1}, {3}}, 0, {0, 1}},
        Series{"WithoutTheLast", {{0}, {1}, {2}}, 0, {0, 1, 2}},
        Series{"OnlyTheFirst", {{0}}, 0, {0}}, Series{"OnlyTheLast", {{3}}, 0, {}},
        // What lies off the minute or stands twice is passed over.
        Series{"HalfAMinute", {{0}, {1}, {1.5}, {2}, {3}}, 1, {0, 1, 2, 3}},
        Series{"ASecondAfter", {{0}, {1}, {61. / 60}, {2}, {3}}, 1, {0, 1, 2, 3}},
        Series{"ASecondBefore", {{0}, {1}, {119. / 60}, {2}, {3}}, 1, {0, 1, 2, 3}},
        Series{"ManyBetween", {{0}, {.25}, {.5}, {.75}, {1}, {2}, {3}}, 1, {0, 1, 2, 3}},
        Series{"OffInsteadOfOn", {{0}, {1}, {2.5}, {3}}, 0, {0, 1}},
        Series{"ASecondLate", {{0}, {1}, {121. / 60}, {3}}, 0, {0, 1}},
        Series{"OffAtTheEnd", {{0}, {1}, {2}, {2.5}}, 0, {0, 1, 2}},
        Series{"Twice", {{0}, {1}, {1}, {2}, {3}}, 1, {0, 1, 2, 3}},
        Series{"EachTwice", {{0}, {0}, {1}, {1}, {2}, {2}, {3}, {3}}, 1, {0, 1, 2, 3}},
        // What is not released is there, but gives no value.
        Series{"OneHeldBack", {{0}, {1}, {2, 0}, {3}}, 1, {0, 1, 3}},
        Series{"AllHeldBack", {{0, 0}, {1, 0}, {2, 0}, {3, 0}}, 1, {}},
        Series{"LastHeldBack", {{0}, {1}, {2}, {3, 0}}, 1, {0, 1, 2}},
        Series{"OtherMarks", {{0, 2}, {1, -1}, {2, 3}, {3}}, 1, {3}},
        Series{"HeldBackBeforeAGap", {{0}, {1, 0}, {3}}, 0, {0}}),
    [](const auto& test) { return test.param.name; });

TEST_F(DemandHistory, OfASpanThatEndsOffTheMinuteIsNeverWhole) {
  HistoryDatabase().Series(kPump, kTen, kTen + 3 * kMinute);

  const Found found = Recall(kPump, kTen, kTen + kMinute + 30);

  EXPECT_EQ(found.result, 0);
  EXPECT_THAT(MinutesOf(found.values), ElementsAre(0, 1));
}

TEST_F(DemandHistory, OfASpanThatEndsAMinuteBeforeItBeginsIsWholeAndEmpty) {
  HistoryDatabase().Series(kPump, kTen - 5 * kMinute, kTen + 3 * kMinute);

  const Found before = RecallMinutes(0, -1);
  const Found longBefore = RecallMinutes(0, -2);

  EXPECT_EQ(before.result, 1);
  EXPECT_THAT(before.values, IsEmpty());
  EXPECT_EQ(longBefore.result, 0);
  EXPECT_THAT(longBefore.values, IsEmpty());
}

TEST_F(DemandHistory, FromTheVeryFirstMinuteBeginsBehindTheLargestNumber) {
  HistoryDatabase().Series(kPump, 0, 2 * kMinute);

  const Found found = Recall(kPump, 0, 2 * kMinute);

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(NumbersOf(found.values), ElementsAre(0, 1, 2));
}

// Times are asked for as signed numbers.
TEST_F(DemandHistory, BehindJanuary2038IsNotFound) {
  constexpr std::uint32_t kLate = 2'208'988'800;
  HistoryDatabase().Series(kPump, kLate, kLate + kMinute);

  const Found found = Recall(kPump, kLate, kLate + kMinute);

  EXPECT_EQ(found.result, 0);
  EXPECT_THAT(found.values, IsEmpty());
}

TEST_F(DemandHistory, ThatEndsBehindJanuary2038IsNotFoundEither) {
  constexpr std::uint32_t kLastMinute = 2'147'483'640;
  HistoryDatabase().Series(kPump, kLastMinute, kLastMinute + kMinute);

  const Found found = Recall(kPump, kLastMinute, kLastMinute + kMinute);

  EXPECT_EQ(found.result, 0);
  EXPECT_THAT(found.values, IsEmpty());
}

// The time of the device's last live value, where one is known, and the recalled minutes 0 to 3.
struct LiveValue {
  const char* name;
  std::time_t time;
  std::int32_t result;
  std::vector<double> minutes;
};

void PrintTo(const LiveValue& row, std::ostream* out) {
  *out << row.name;
}

class HistoryBehindALiveValue : public DemandHistory,
                                public ::testing::WithParamInterface<LiveValue> {};

TEST_P(HistoryBehindALiveValue, BeginsAfterItsMinute) {
  HistoryDatabase().Series(kPump, kTen, kTen + 3 * kMinute);
  test::SetLiveValueTime(0x0103, static_cast<std::uint32_t>(GetParam().time));

  const Found found = RecallMinutes(0, 3);

  EXPECT_EQ(found.result, GetParam().result);
  EXPECT_EQ(MinutesOf(found.values), GetParam().minutes);
}

// A row before the minute reached lies, unsigned, far ahead of it, and ends the walk.
INSTANTIATE_TEST_SUITE_P(
    Times, HistoryBehindALiveValue,
    ::testing::Values(LiveValue{"None", 0, 1, {0, 1, 2, 3}},
                      LiveValue{"LongBefore", kTen - 1000 * kMinute, 1, {0, 1, 2, 3}},
                      LiveValue{"TwoMinutesBefore", kTen - 2 * kMinute, 1, {0, 1, 2, 3}},
                      LiveValue{"InTheMinuteBefore", kTen - 1, 1, {0, 1, 2, 3}},
                      // The minute itself is passed over, and gives no value.
                      LiveValue{"AtTheFirst", kTen, 1, {1, 2, 3}},
                      LiveValue{"InTheFirst", kTen + 59, 1, {1, 2, 3}},
                      LiveValue{"AtTheSecond", kTen + kMinute, 0, {}},
                      LiveValue{"AtTheLast", kTen + 3 * kMinute, 0, {}},
                      LiveValue{"LongAfter", kTen + 1000 * kMinute, 0, {}}),
    [](const auto& test) { return test.param.name; });

TEST_F(DemandHistory, GoesByTheLiveValuesOfItsOwnDevice) {
  HistoryDatabase().Series(kPump, kTen, kTen + 3 * kMinute);
  test::SetLiveValueTime(0x0104, static_cast<std::uint32_t>(kTen + 2 * kMinute));

  const Found found = RecallMinutes(0, 3);

  EXPECT_EQ(found.result, 1);
}

TEST_F(DemandHistory, WithoutARowIsWholeWhenTheLastMinuteIsThatOfTheLiveValue) {
  HistoryDatabase().Table(kPump);
  test::SetLiveValueTime(0x0103, static_cast<std::uint32_t>(kTen + 3 * kMinute + 59));

  const Found found = RecallMinutes(0, 3);

  EXPECT_EQ(found.result, 1);
  EXPECT_THAT(found.values, IsEmpty());
}

}  // namespace
