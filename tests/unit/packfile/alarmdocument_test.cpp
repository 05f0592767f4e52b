// The JSON document of an alarm-data file, byte for byte, and what an event takes over from the one
// before it.
#include "packfile/alarmdocument.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "alarmevent.h"
#include "packtest.h"
#include "support/faults.h"

using test::AlarmEvent;
using test::Catalogue;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

using namespace std::string_literals;
using Events = std::vector<Alarm_Data_Para>;

constexpr std::uint32_t kLevel = 0x0103004D;  // AI
constexpr std::uint32_t kDoor = 0x0C030105;   // DI
constexpr std::uint32_t kUnknown = 0x0C0301FF;

// The document of these events; what the last of them lends stays in `carryOver`.
std::string Document(const Events& events, AlarmCarryOver& carryOver) {
  rapidjson::StringBuffer text;
  WriteAlarmDocument("BR0042", events, carryOver, text);
  return text.GetString();
}

std::string Document(const Events& events) {
  AlarmCarryOver carryOver = kNothingCarriedOver;
  return Document(events, carryOver);
}

// The texts under a key, in their order.
std::vector<std::string> Texts(const std::string& document, const std::string& key) {
  std::vector<std::string> texts;
  const std::string mark = "\"" + key + "\":\"";
  for (auto at = document.find(mark); at != std::string::npos; at = document.find(mark, at + 1)) {
    const auto from = at + mark.size();
    texts.push_back(document.substr(from, document.find('"', from) - from));
  }
  return texts;
}

class AlarmDocument : public test::PackTest {
 protected:
  void SetUp() override {
    PackTest::SetUp();
    Catalogue().Point(kLevel, "Level").Point(kDoor, "Door");
  }
};

TEST_F(AlarmDocument, HoldsAnObjectForEveryEventInTheGivenOrder) {
  const std::time_t noon = test::LocalTimeOf(2024, 3, 7, 12);

  EXPECT_EQ(
      Document({AlarmEvent(kLevel).At(noon - 1).Threshold(30).Value(31.25).Grade(10).UpFlag(1),
                AlarmEvent(kDoor).At(noon - 3600).Threshold(-0.5).Value(1).Type(3).Grade(2)}),
      R"({"sn":"BR0042","alarmDataType":0,"data":[)"
      R"({"groupId":1,"eqpId":3,"alarmTime":"2024-03-07 11:59:59","alarmType":"10000",)"
      R"("alarmGrade":"000A","flag":1,"alarmDes":"Level()"
      "\xE9\x98\x80\xE5\x80\xBC"
      R"j(:30.000)","alarmValues":[{"pointId":"004D",)j"
      R"("values":[{"timeMark":"2024-03-07 11:59:59","value":"31.250"}]}]},)"
      R"({"groupId":12,"eqpId":3,"alarmTime":"2024-03-07 11:00:00","alarmType":"10200",)"
      R"("alarmGrade":"0002","flag":0,"alarmDes":"Door()"
      "\xE9\x98\x80\xE5\x80\xBC"
      R"j(:-0.500)","alarmValues":[{"pointId":"0105",)j"
      R"("values":[{"timeMark":"2024-03-07 11:00:00","value":"1.000"}]}]}]})");
}

TEST_F(AlarmDocument, OfNoEventsHoldsNoData) {
  EXPECT_EQ(Document({}), R"({"sn":"BR0042","alarmDataType":0,"data":[]})");
}

TEST_F(AlarmDocument, TakesEveryEventItIsGiven) {
  const std::string document = Document(Events(kAlarmsPerFile, AlarmEvent(kLevel)));

  EXPECT_EQ(Texts(document, "pointId"), std::vector<std::string>(20, "004D"));
}

TEST_F(AlarmDocument, EscapesTheSerialNumber) {
  AlarmCarryOver carryOver = kNothingCarriedOver;
  rapidjson::StringBuffer text;

  WriteAlarmDocument("A\"B\\C", {}, carryOver, text);

  EXPECT_STREQ(text.GetString(), R"({"sn":"A\"B\\C","alarmDataType":0,"data":[]})");
}

TEST_F(AlarmDocument, ThrowsWithoutASerialNumber) {
  AlarmCarryOver carryOver = kNothingCarriedOver;
  rapidjson::StringBuffer text;

  EXPECT_THAT([&] { WriteAlarmDocument(nullptr, {}, carryOver, text); },
              ::testing::ThrowsMessage<std::logic_error>("rapidjson exception"));
}

TEST_F(AlarmDocument, TellsGroupDeviceAndPointFromTheIdentifier) {
  EXPECT_THAT(Document({AlarmEvent(0)}), HasSubstr(R"({"groupId":0,"eqpId":0,)"));
  EXPECT_THAT(Document({AlarmEvent(0)}), HasSubstr(R"("pointId":"0000")"));
  EXPECT_THAT(Document({AlarmEvent(0xFFFEFDFC)}), HasSubstr(R"({"groupId":255,"eqpId":254,)"));
  EXPECT_THAT(Document({AlarmEvent(0xFFFEFDFC)}), HasSubstr(R"("pointId":"FDFC")"));
}

TEST_F(AlarmDocument, TellsTheTimeInTheGatewaysZone) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();

  const std::string document =
      Document({AlarmEvent(kLevel).At(1719835201)});  // 12:00:01 UTC, in July

  EXPECT_THAT(Texts(document, "alarmTime"), ::testing::ElementsAre("2024-07-01 14:00:01"));
  EXPECT_THAT(Texts(document, "timeMark"), ::testing::ElementsAre("2024-07-01 14:00:01"));
}

TEST_F(AlarmDocument, TellsTheTimeOfEventsBehindTheWrapOf2038) {
  test::SetTime(test::LocalTimeOf(2038, 1, 20, 12));

  const std::string document =
      Document({AlarmEvent(kLevel).At(test::LocalTimeOf(2038, 1, 20, 11)),
                AlarmEvent(kLevel).At(test::LocalTimeOf(2038, 1, 18, 11))});

  EXPECT_THAT(Texts(document, "alarmTime"),
              ::testing::ElementsAre("2038-01-20 11:00:00", "2038-01-18 11:00:00"));
}

TEST_F(AlarmDocument, CountsAnUpFlagOfTwoAsNotZeroAndTellsItWhole) {
  const std::string document = Document({AlarmEvent(kDoor).UpFlag(2)});

  EXPECT_THAT(document, HasSubstr(R"("flag":2,)"));
  EXPECT_THAT(document, HasSubstr(R"("alarmType":"10201")"));
}

TEST_F(AlarmDocument, LooksAtAllOfTheUpFlag) {
  for (const std::int32_t flag : {-1, 256, 65536, std::numeric_limits<std::int32_t>::min()}) {
    const std::string document = Document({AlarmEvent(kLevel).Type(1).UpFlag(flag)});

    EXPECT_THAT(document, HasSubstr("\"flag\":" + std::to_string(flag) + ","));
    EXPECT_THAT(document, HasSubstr(R"("alarmType":"10100")"));
  }
}

struct Grade {
  std::int32_t grade;
  const char* text;
};

void PrintTo(const Grade& grade, std::ostream* out) {
  *out << grade.grade;
}

class AlarmGrade : public AlarmDocument, public ::testing::WithParamInterface<Grade> {};

TEST_P(AlarmGrade, HasFourHexadecimalDigitsOrMore) {
  const std::string document = Document({AlarmEvent(kLevel).Grade(GetParam().grade)});

  EXPECT_THAT(Texts(document, "alarmGrade"), ::testing::ElementsAre(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Grades, AlarmGrade,
                         ::testing::Values(Grade{0, "0000"}, Grade{1, "0001"}, Grade{10, "000A"},
                                           Grade{0xBEEF, "BEEF"}, Grade{0xFFFF, "FFFF"},
                                           Grade{0x12345, "12345"}, Grade{-1, "FFFFFFFF"}));

struct Number {
  const char* name;
  double number;
  std::string text;
};

void PrintTo(const Number& number, std::ostream* out) {
  *out << number.text;
}

class AlarmNumber : public AlarmDocument, public ::testing::WithParamInterface<Number> {};

TEST_P(AlarmNumber, HasThreeDecimals) {
  const double number = GetParam().number;

  const std::string document = Document({AlarmEvent(kLevel).Threshold(number).Value(number)});

  EXPECT_THAT(Texts(document, "alarmDes"),
              ::testing::ElementsAre("Level(阀值:" + GetParam().text + ")"));
  EXPECT_THAT(Texts(document, "value"), ::testing::ElementsAre(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, AlarmNumber,
    ::testing::Values(Number{"Thirty", 30, "30.000"}, Number{"Zero", 0, "0.000"},
                      Number{"RoundedToMinusZero", -0.0004, "-0.000"},
                      Number{"RoundedUp", 1.2346, "1.235"}, Number{"Minus", -7.125, "-7.125"},
                      Number{"LongerThanAValueOfRealData", 123456789012345.0,
                             "123456789012345.000"},
                      Number{"Infinite", std::numeric_limits<double>::infinity(), "inf"},
                      Number{"NotANumber", std::numeric_limits<double>::quiet_NaN(), "nan"}),
    [](const auto& test) { return test.param.name; });

TEST_F(AlarmDocument, CutsAValueAt254Characters) {
  std::string digits(300, '0');
  std::snprintf(digits.data(), digits.size(), "%.3f", 1e299);

  const std::string document = Document({AlarmEvent(kLevel).Value(1e299)});

  EXPECT_THAT(Texts(document, "value"), ::testing::ElementsAre(digits.substr(0, 254)));
}

TEST_F(AlarmDocument, CutsADescriptionAt254Bytes) {
  std::string digits(300, '0');
  std::snprintf(digits.data(), digits.size(), "%.3f", 1e299);
  Catalogue().Point(kLevel, std::string(127, 'n'));

  const std::string document = Document({AlarmEvent(kLevel).Threshold(1e299)});

  EXPECT_THAT(Texts(document, "alarmDes"),
              ::testing::ElementsAre((std::string(127, 'n') + "(阀值:" + digits).substr(0, 254)));
}

TEST_F(AlarmDocument, TakesThePointsNameAsItIs) {
  Catalogue().Point(kLevel, "水位 %n%s").Point(kDoor, "\"A\\B\"");

  const std::string document = Document({AlarmEvent(kLevel), AlarmEvent(kDoor)});

  EXPECT_THAT(document, HasSubstr(R"j("alarmDes":"水位 %n%s(阀值:0.000)")j"));
  EXPECT_THAT(document, HasSubstr(R"j("alarmDes":"\"A\\B\"(阀值:0.000)")j"));
}

TEST_F(AlarmDocument, TakesOverTheCodeOfTheEventBefore) {
  const std::string document =
      Document({AlarmEvent(kLevel).Type(1).UpFlag(1), AlarmEvent(kLevel).Type(256),
                AlarmEvent(kUnknown & ~0xFFU), AlarmEvent(0x0C030100).Type(2).UpFlag(1),
                AlarmEvent(kDoor).Type(2), AlarmEvent(kLevel).Type(-1)});

  EXPECT_THAT(Texts(document, "alarmType"),
              ::testing::ElementsAre("10100", "10100", "10300", "10300", "10200", "10200"));
}

TEST_F(AlarmDocument, LeavesTheCodeEmptyBeforeTheFirstThatHasOne) {
  const std::string document = Document(
      {AlarmEvent(kLevel).Type(2), AlarmEvent(kLevel).Type(257), AlarmEvent(kLevel).Type(1)});

  EXPECT_THAT(Texts(document, "alarmType"), ::testing::ElementsAre("", "", "10101"));
}

TEST_F(AlarmDocument, TakesOverTheNameOfThePointBefore) {
  const std::string document =
      Document({AlarmEvent(kLevel).Threshold(1), AlarmEvent(kUnknown).Threshold(2),
                AlarmEvent(kDoor).Threshold(3), AlarmEvent(kUnknown).Threshold(4),
                AlarmEvent(kUnknown + 1).Threshold(5)});

  EXPECT_THAT(Texts(document, "alarmDes"),
              ::testing::ElementsAre("Level(阀值:1.000)", "Level(阀值:2.000)", "Door(阀值:3.000)",
                                     "Door(阀值:4.000)", "Door(阀值:5.000)"));
}

TEST_F(AlarmDocument, LeavesTheNameEmptyBeforeTheFirstKnownPoint) {
  const std::string document = Document({AlarmEvent(kUnknown), AlarmEvent(kDoor)});

  EXPECT_THAT(Texts(document, "alarmDes"),
              ::testing::ElementsAre("(阀值:0.000)", "Door(阀值:0.000)"));
}

TEST_F(AlarmDocument, KeepsAnUnknownPointsOwnIdentifier) {
  const std::string document = Document({AlarmEvent(kLevel), AlarmEvent(kUnknown)});

  EXPECT_THAT(Texts(document, "pointId"), ::testing::ElementsAre("004D", "01FF"));
  EXPECT_THAT(document, HasSubstr(R"({"groupId":12,"eqpId":3,)"));
}

TEST_F(AlarmDocument, TellsOfAnUnknownPointOnStandardOutput) {
  ::testing::internal::CaptureStdout();
  Document({AlarmEvent(kLevel), AlarmEvent(kUnknown)});

  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Can not find DataId 0c0301ff's Attr \n");
}

TEST_F(AlarmDocument, TakesOverTheTimeOfTheEventBeforeWhenItsOwnCannotBeConverted) {
  test::FailCalls(test::Call::kLocaltime, 1, 1);

  const std::string document =
      Document({AlarmEvent(kLevel), AlarmEvent(kDoor).At(1), AlarmEvent(kLevel).At(0)});

  EXPECT_THAT(
      Texts(document, "alarmTime"),
      ::testing::ElementsAre("2024-03-07 11:59:30", "2024-03-07 11:59:30", "1970-01-01 08:00:00"));
  EXPECT_EQ(Texts(document, "timeMark"), Texts(document, "alarmTime"));
}

TEST_F(AlarmDocument, LeavesTheTimeEmptyBeforeTheFirstThatCanBeConverted) {
  test::FailCalls(test::Call::kLocaltime);

  const std::string document = Document({AlarmEvent(kLevel), AlarmEvent(kLevel)});

  EXPECT_THAT(Texts(document, "alarmTime"), ::testing::ElementsAre("", "2024-03-07 11:59:30"));
}

TEST_F(AlarmDocument, TakesOverWhatTheDocumentBeforeHasLent) {
  AlarmCarryOver carryOver = kNothingCarriedOver;
  Document({AlarmEvent(kDoor).UpFlag(1)}, carryOver);
  test::FailCalls(test::Call::kLocaltime);

  const std::string document = Document({AlarmEvent(kUnknown & ~0xFFU).Type(7).At(0)}, carryOver);

  EXPECT_THAT(Texts(document, "alarmTime"), ::testing::ElementsAre("2024-03-07 11:59:30"));
  EXPECT_THAT(Texts(document, "alarmType"), ::testing::ElementsAre("10201"));
  EXPECT_THAT(Texts(document, "alarmDes"), ::testing::ElementsAre("Door(阀值:0.000)"));
}

TEST_F(AlarmDocument, TakesNothingOverOfAnotherKind) {
  const std::string document =
      Document({AlarmEvent(kLevel).Grade(5).UpFlag(3).Value(8), AlarmEvent(kUnknown).Type(9)});

  EXPECT_THAT(Texts(document, "alarmGrade"), ::testing::ElementsAre("0005", "0000"));
  EXPECT_THAT(Texts(document, "value"), ::testing::ElementsAre("8.000", "0.000"));
  EXPECT_THAT(document, HasSubstr(R"("flag":0,)"));
  EXPECT_THAT(document, Not(HasSubstr("Level(阀值:8")));
}

struct FieldOfTime {
  const char* name;
  std::int32_t field;
  std::time_t now;
  std::time_t time;
};

void PrintTo(const FieldOfTime& row, std::ostream* out) {
  *out << row.field << " at " << row.now;
}

class EventTimes : public ::testing::TestWithParam<FieldOfTime> {};

TEST_P(EventTimes, AreTheNearestToNowThatTheFieldCanStandFor) {
  EXPECT_EQ(EventTime(GetParam().field, GetParam().now), GetParam().time);
}

constexpr std::int32_t kGreatest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::time_t kWrap = 0x80000000;         // 2038-01-19
constexpr std::time_t kFullTurn = kWrap + kWrap;  // 2106-02-07

INSTANTIATE_TEST_SUITE_P(
    Fields, EventTimes,
    ::testing::Values(FieldOfTime{"Now", 1709784000, 1709784000, 1709784000},
                      FieldOfTime{"ThreeDaysAgo", 1709524800, 1709784000, 1709524800},
                      FieldOfTime{"AheadOfTheClock", 1709784060, 1709784000, 1709784060},
                      FieldOfTime{"Epoch", 0, 1709784000, 0},
                      FieldOfTime{"NoTimeAtAll", -1, 1709784000, -1},
                      FieldOfTime{"LastBeforeTheWrap", kGreatest, kWrap - 1, kWrap - 1},
                      FieldOfTime{"FirstBehindTheWrap", kLeast, kWrap, kWrap},
                      FieldOfTime{"BeforeTheWrapReadBehindIt", kGreatest, kWrap + 60, kWrap - 1},
                      FieldOfTime{"BehindTheWrapReadBeforeIt", kLeast, kWrap - 60, kWrap},
                      FieldOfTime{"NegativeBehindTheWrap", kLeast + 100, kWrap + 200, kWrap + 100},
                      FieldOfTime{"BehindTheFullTurn", 5, kFullTurn + 60, kFullTurn + 5},
                      FieldOfTime{"BeforeTheFullTurnReadBehindIt", -5, kFullTurn, kFullTurn - 5}),
    [](const auto& test) { return test.param.name; });

}  // namespace
