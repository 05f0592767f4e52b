// The alarm-data files of one call: how many, their names, their messages, their pauses.
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
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
using ::testing::KilledBySignal;

namespace fs = std::filesystem;

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
using test::Packed;
using test::Pause;
using test::PointsOf;
using test::Succeeded;

class AlarmFile : public test::AlarmFileTest {};

TEST_F(AlarmFile, IsAnArchiveOfOneTextUnderItsBareName) {
  const Packed packed = PackAlarms(AlarmEvents(1));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre(AlarmArchive(0)));
  EXPECT_EQ(test::Members(AlarmArchive(0)), "T20240307120000.dat\n");
  EXPECT_THAT(test::ReadFile(AlarmArchive(0)), ::testing::StartsWith("\x1f\x8b"));  // gzip
}

TEST_F(AlarmFile, LeavesTheArchiveAlone) {
  PackAlarms(AlarmEvents(1));

  EXPECT_THAT(test::List(kAlarms), ElementsAre("T20240307120000.tar.gz"));
}

TEST_F(AlarmFile, HoldsTheDocument) {
  PackAlarms({AlarmEvent(kFirstPoint).Threshold(30).Value(31).Type(1).Grade(10).UpFlag(2)});

  EXPECT_EQ(test::Unpack(AlarmArchive(0)),
            R"({"sn":"BR0042","alarmDataType":0,"data":[)"
            R"({"groupId":1,"eqpId":3,"alarmTime":"2024-03-07 11:59:30","alarmType":"10100",)"
            R"("alarmGrade":"000A","flag":2,"alarmDes":"Point0()"
            "\xE9\x98\x80\xE5\x80\xBC"
            R"j(:30.000)","alarmValues":[{"pointId":"0001",)j"
            R"("values":[{"timeMark":"2024-03-07 11:59:30","value":"31.000"}]}]}]})");
}

TEST_F(AlarmFile, IsReportedOnce) {
  PackAlarms(AlarmEvents(1));

  EXPECT_THAT(test::TextLog(), ElementsAre(Succeeded(AlarmArchive(0))));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(AlarmFile, IsAppendedToTheFiles) {
  std::vector<std::string> files = {"before"};
  const Alarm_Data_Struct events = AlarmEvents(21);

  GetCPackFileInstance().CreateAlarmDataJsonFile(&events, kAlarms, &files);

  EXPECT_THAT(files, ElementsAre("before", AlarmArchive(0), AlarmArchive(1)));
}

TEST_F(AlarmFile, IsNotMadeOfNoEvents) {
  const Packed packed = PackAlarms({});

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, IsEmpty());
  EXPECT_THAT(test::List(kAlarms), IsEmpty());
  EXPECT_THAT(test::Pauses(), IsEmpty());
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

struct Burst {
  std::size_t events;
  std::vector<std::size_t> perFile;
};

void PrintTo(const Burst& burst, std::ostream* out) {
  *out << burst.events << " events";
}

class AlarmBurst : public AlarmFile, public ::testing::WithParamInterface<Burst> {};

TEST_P(AlarmBurst, FillsFilesOfTwentyInTheEventsOrder) {
  const Packed packed = PackAlarms(AlarmEvents(GetParam().events));

  EXPECT_EQ(packed.result, 0);
  ASSERT_EQ(packed.files.size(), GetParam().perFile.size());
  std::size_t next = 1;
  for (std::size_t file = 0; file < packed.files.size(); ++file) {
    const auto points = PointsOf(packed.files[file]);
    EXPECT_EQ(points.size(), GetParam().perFile[file]);
    for (const auto& point : points) EXPECT_EQ(std::stoul(point, nullptr, 16), next++);
  }
}

TEST_P(AlarmBurst, TakesAPauseAndAnAttemptAFile) {
  PackAlarms(AlarmEvents(GetParam().events));

  std::vector<Pause> expected;
  for (std::size_t file = 0; file < GetParam().perFile.size(); ++file) {
    expected.insert(expected.end(), {kBeforeTheText, kBeforeAnAttempt});
  }
  EXPECT_EQ(test::Pauses(), expected);
}

INSTANTIATE_TEST_SUITE_P(Events, AlarmBurst,
                         ::testing::Values(Burst{0, {}}, Burst{1, {1}}, Burst{19, {19}},
                                           Burst{20, {20}}, Burst{21, {20, 1}}, Burst{40, {20, 20}},
                                           Burst{41, {20, 20, 1}}),
                         [](const auto& test) { return std::to_string(test.param.events); });

TEST_F(AlarmFile, OfOneCallIsNamedOtherThanTheOneBefore) {
  const Packed packed = PackAlarms(AlarmEvents(41));

  EXPECT_THAT(packed.files, ElementsAre(AlarmArchive(0), AlarmArchive(1), AlarmArchive(2)));
  EXPECT_THAT(test::TextLog(), ElementsAre(Succeeded(AlarmArchive(0)), Succeeded(AlarmArchive(1)),
                                           Succeeded(AlarmArchive(2))));
}

TEST_F(AlarmFile, IsNamedByTheTimeAtWhichItsDocumentIsComplete) {
  test::AtNextCall(Call::kLocaltime,
                   [] { test::SetTime(test::LocalTimeOf(2024, 12, 31, 23, 59, 59)); });

  const Packed packed = PackAlarms(AlarmEvents(1));

  EXPECT_THAT(packed.files, ElementsAre(AlarmPath("T20241231235959.tar.gz")));
}

TEST_F(AlarmFile, IsNamedBeforeThePauseInFrontOfItsText) {
  std::vector<std::string> seen;  // what stands in the directory at each pause
  test::OnPause([&](Pause) {
    std::string names;
    for (const auto& name : test::List(kAlarms)) names += name;
    seen.push_back(names);
    if (seen.size() == 1) test::SetTime(test::LocalTimeOf(2024, 12, 31));
  });

  PackAlarms(AlarmEvents(1));

  EXPECT_THAT(seen, ElementsAre("", "T20240307120000.dat"));
}

TEST_F(AlarmFile, ReplacesATextThatWasLeftBehind) {
  test::WriteFile(AlarmPath("T20240307120000.dat"), std::string(10000, 'x'));

  PackAlarms(AlarmEvents(1));

  EXPECT_THAT(test::Unpack(AlarmArchive(0)), ::testing::EndsWith("}]}]}]}"));
}

// tar stands in the shell's command line, which it can read.
TEST_F(AlarmFile, IsCompressedByThisCommand) {
  test::ReplaceTar(
      R"(tr '\0' '\n' < /proc/$PPID/cmdline > /tmp/replacement/command; real_tar "$@")");

  PackAlarms(AlarmEvents(1));

  EXPECT_THAT(test::ReadFile("/tmp/replacement/command"),
              HasSubstr("\ncd " + std::string(kAlarms) +
                        " && tar -zcf T20240307120000.tar.gz T20240307120000.dat > /dev/null "
                        "2>&1; echo $?\n"));
}

TEST_F(AlarmFile, TakesOverFromTheFileBeforeInTheSameCall) {
  Alarm_Data_Struct events = AlarmEvents(20);
  events.back() = AlarmEvent(kFirstPoint).Type(1).UpFlag(1);
  events.push_back(AlarmEvent(kUnknownPoint).Type(2));

  const Packed packed = PackAlarms(events);

  ASSERT_EQ(packed.files.size(), 2U);
  const std::string second = test::Unpack(packed.files[1]);
  EXPECT_THAT(second, HasSubstr(R"("alarmType":"10100")"));
  EXPECT_THAT(second, HasSubstr(R"j("alarmDes":"Point0(阀值:0.000)")j"));
}

TEST_F(AlarmFile, TakesOverTheTimeFromTheFileBeforeInTheSameCall) {
  Alarm_Data_Struct events = AlarmEvents(21);
  events[19] = AlarmEvent(kFirstPoint).At(test::LocalTimeOf(2024, 3, 6, 1, 2, 3));
  test::FailCalls(Call::kLocaltime, 1, 22);  // twenty events, a name and a log line come before

  const Packed packed = PackAlarms(events);

  ASSERT_EQ(packed.files.size(), 2U);
  EXPECT_THAT(test::Unpack(packed.files[1]), HasSubstr(R"("alarmTime":"2024-03-06 01:02:03")"));
}

TEST_F(AlarmFile, TakesNothingOverFromAnotherCall) {
  PackAlarms({AlarmEvent(kFirstPoint).Type(1).UpFlag(1)});
  test::FailCalls(Call::kLocaltime);

  const Packed packed = PackAlarms({AlarmEvent(kUnknownPoint).Type(2)});

  ASSERT_EQ(packed.files.size(), 1U);
  const std::string second = test::Unpack(packed.files[0]);
  EXPECT_THAT(second, HasSubstr(R"("alarmTime":"","alarmType":"",)"));
  EXPECT_THAT(second, HasSubstr(R"j("alarmDes":"(阀值:0.000)")j"));
}

// The stop holds in every build type; its message is the one of assert.
class AlarmFileStop : public AlarmFile {
 protected:
  void SetUp() override {
    AlarmFile::SetUp();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
  }
};

constexpr char kStop[] =
    "packfile/packfile\\.cpp:[0-9]+: .*CPackFile::CreateAlarmDataJsonFile\\(.*\\): "
    "Assertion `ofs\\.is_open\\(\\)' failed";

TEST_F(AlarmFileStop, EndsTheProcessWithoutADirectoryForTheText) {
  fs::remove_all(kAlarms);

  EXPECT_EXIT(PackAlarms(AlarmEvents(1)), KilledBySignal(SIGABRT), kStop);
}

TEST_F(AlarmFileStop, EndsTheProcessWhenTheTextCannotBeOpened) {
  fs::create_directories(AlarmPath("T20240307120000.dat"));

  EXPECT_EXIT(PackAlarms(AlarmEvents(1)), KilledBySignal(SIGABRT), kStop);
}

TEST_F(AlarmFileStop, DoesNotComeWithoutEvents) {
  fs::remove_all(kAlarms);

  EXPECT_EXIT(std::exit(PackAlarms({}).result), ::testing::ExitedWithCode(0), "");
}

}  // namespace
