// Alarm-data files that cannot be made: what is told, what is left, and what becomes of the others.
#include <gmock/gmock.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "alarmevent.h"
#include "alarmfixture.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/logs.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

using test::AlarmArchive;
using test::AlarmEvent;
using test::AlarmEvents;
using test::AlarmPath;
using test::Call;
using test::kAlarms;
using test::kBeforeAnAttempt;
using test::kBeforeTheText;
using test::kFirstPoint;
using test::kUnknownPoint;
using test::LogRecord;
using test::Packed;
using test::PointsOf;
using test::Succeeded;

LogRecord Failed(const std::string& archive, int status) {
  return {"WARN", "CreateAlarmDataJsonFile " + archive + " failed,errno " + std::to_string(status)};
}
LogRecord GaveUp(const std::string& archive) {
  return {"WARN", "try 3 times,but CreateAlarmDataJsonFile " + archive + " failed"};
}
class AlarmFileInTrouble : public test::AlarmFileTest {};

struct Trouble {
  const char* name;
  std::string tar;
  int status;  // reported at every attempt; none below 0
};

class AlarmTrouble : public AlarmFileInTrouble, public ::testing::WithParamInterface<Trouble> {};

TEST_P(AlarmTrouble, LosesTheFileAfterThreeAttemptsAndReturnsZero) {
  test::ReplaceTar(GetParam().tar);

  const Packed packed = PackAlarms(AlarmEvents(1));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, IsEmpty());
  EXPECT_THAT(test::Pauses(),
              ElementsAre(kBeforeTheText, kBeforeAnAttempt, kBeforeAnAttempt, kBeforeAnAttempt));
}

TEST_P(AlarmTrouble, LeavesTheTextAndNoArchive) {
  test::ReplaceTar(GetParam().tar);

  PackAlarms(AlarmEvents(1));

  EXPECT_THAT(test::List(kAlarms), ElementsAre("T20240307120000.dat"));
  EXPECT_THAT(test::ReadFile(AlarmPath("T20240307120000.dat")),
              ::testing::StartsWith(R"({"sn":"BR0042","alarmDataType":0,"data":[{)"));
}

TEST_P(AlarmTrouble, IsReported) {
  test::ReplaceTar(GetParam().tar);

  PackAlarms(AlarmEvents(1));

  std::vector<LogRecord> expected;
  if (GetParam().status >= 0) expected.assign(3, Failed(AlarmArchive(0), GetParam().status));
  expected.push_back(GaveUp(AlarmArchive(0)));
  EXPECT_EQ(test::TextLog(), expected);
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Tars, AlarmTrouble,
                         ::testing::Values(Trouble{"ThatFails", "exit 7", 7},
                                           Trouble{"ThatFailsHalfWay", "echo part > $2; exit 2", 2},
                                           Trouble{"ThatFailsAfterItsWork",
                                                   "real_tar \"$@\"; exit 1", 1},
                                           Trouble{"ThatDoesNothing", "exit 0", -1},
                                           Trouble{"ThatLeavesAnEmptyArchive", ": > $2", -1}),
                         [](const auto& test) { return test.param.name; });

TEST_F(AlarmFileInTrouble, ReportsStatusZeroWhenTheShellCannotBeStarted) {
  test::FailCalls(Call::kPopen, 3);

  const Packed packed = PackAlarms(AlarmEvents(1));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(test::TextLog(), ElementsAre(Failed(AlarmArchive(0), 0), Failed(AlarmArchive(0), 0),
                                           Failed(AlarmArchive(0), 0), GaveUp(AlarmArchive(0))));
}

TEST_F(AlarmFileInTrouble, IsMadeAtTheThirdAttempt) {
  test::FailCalls(Call::kPopen, 2);

  const Packed packed = PackAlarms(AlarmEvents(1));

  EXPECT_THAT(packed.files, ElementsAre(AlarmArchive(0)));
  EXPECT_THAT(test::TextLog(), ElementsAre(Failed(AlarmArchive(0), 0), Failed(AlarmArchive(0), 0),
                                           Succeeded(AlarmArchive(0))));
  EXPECT_THAT(test::List(kAlarms), ElementsAre("T20240307120000.tar.gz"));
}

TEST_F(AlarmFileInTrouble, ThatIsLostDoesNotHoldUpTheNext) {
  test::FailCalls(Call::kPopen, 3, 1);

  const Packed packed = PackAlarms(AlarmEvents(41));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre(AlarmArchive(0), AlarmArchive(4)));
  EXPECT_THAT(PointsOf(packed.files[0]), ::testing::SizeIs(20));
  EXPECT_THAT(PointsOf(packed.files[1]), ElementsAre("0029"));
  EXPECT_THAT(test::List(kAlarms), ElementsAre("T20240307120000.tar.gz", "T20240307120001.dat",
                                               "T20240307120004.tar.gz"));
  EXPECT_THAT(test::TextLog(), ElementsAre(Succeeded(AlarmArchive(0)), Failed(AlarmArchive(1), 0),
                                           Failed(AlarmArchive(1), 0), Failed(AlarmArchive(1), 0),
                                           GaveUp(AlarmArchive(1)), Succeeded(AlarmArchive(4))));
}

TEST_F(AlarmFileInTrouble, HandsBackTheEventsOfATextThatTheCardDidNotTakeWhole) {
  const std::string text = AlarmPath("T20240307120001.dat");
  ASSERT_EQ(symlink("/dev/full", text.c_str()), 0);
  const Alarm_Data_Struct events = AlarmEvents(41);
  std::vector<std::string> files;
  Alarm_Data_Struct unwritten;

  GetCPackFileInstance().CreateAlarmDataJsonFile(&events, kAlarms, &files, &unwritten);

  EXPECT_THAT(files, ElementsAre(AlarmArchive(0), AlarmArchive(4)));
  ASSERT_THAT(unwritten, ::testing::SizeIs(20));
  EXPECT_EQ(unwritten.front().DataId, events[20].DataId);
  EXPECT_EQ(unwritten.back().DataId, events[39].DataId);
  EXPECT_FALSE(test::Exists(text));
}

TEST_F(AlarmFileInTrouble, ThatIsLostLendsToTheNextAllTheSame) {
  Alarm_Data_Struct events(20, AlarmEvent(kFirstPoint));
  events.insert(events.end(), 20, AlarmEvent(kFirstPoint + 1).Type(1));
  events.push_back(AlarmEvent(kUnknownPoint).Type(2));
  test::FailCalls(Call::kPopen, 3, 1);

  const Packed packed = PackAlarms(events);

  ASSERT_EQ(packed.files.size(), 2U);
  EXPECT_THAT(test::Unpack(packed.files[1]), HasSubstr(R"("alarmType":"10101")"));
  EXPECT_THAT(test::Unpack(packed.files[1]), HasSubstr(R"j("alarmDes":"Point1(阀值:0.000)")j"));
}

TEST_F(AlarmFileInTrouble, IsLostWhenTheTimeCannotBeToldAndTheNextIsMade) {
  test::FailCalls(Call::kLocaltime, 1, 20);  // behind twenty events, at the first name

  const Packed packed = PackAlarms(AlarmEvents(21));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre(AlarmArchive(0)));
  EXPECT_THAT(PointsOf(AlarmArchive(0)), ElementsAre("0015"));
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN", "CreateAlarmDataJsonFile in " + std::string(kAlarms) +
                                                " failed, no local time"},
                          Succeeded(AlarmArchive(0))));
}

}  // namespace
