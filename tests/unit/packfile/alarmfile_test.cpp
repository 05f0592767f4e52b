// The alarm-data files of one call: how many, their names, their messages, their pauses, and what
// becomes of events whose file cannot be made.
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "alarmevent.h"
#include "packtest.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/logs.h"

using test::AlarmEvent;
using test::Call;
using test::Catalogue;
using test::LogRecord;
using test::Packed;
using test::Pause;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::KilledBySignal;

namespace fs = std::filesystem;

namespace {

constexpr char kAlarms[] = "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/7";
constexpr std::uint32_t kFirst = 0x01030001;  // the points' identifiers rise from here
constexpr std::uint32_t kUnknown = 0x0C030100;
constexpr Pause kBeforeTheText{50000};
constexpr Pause kBeforeAnAttempt{1000000};

std::string Path(const std::string& name) {
  return std::string(kAlarms) + "/" + name;
}
std::string Archive(int second) {
  return Path("T2024030712000" + std::to_string(second) + ".tar.gz");
}

LogRecord Failed(const std::string& archive, int status) {
  return {"WARN", "CreateAlarmDataJsonFile " + archive + " failed,errno " + std::to_string(status)};
}
LogRecord GaveUp(const std::string& archive) {
  return {"WARN", "try 3 times,but CreateAlarmDataJsonFile " + archive + " failed"};
}
LogRecord Succeeded(const std::string& archive) {
  return {"INFO", "CreateAlarmDataJsonFile " + archive + " Success"};
}

// So many events, of points that follow each other.
Alarm_Data_Struct Events(std::size_t count) {
  Alarm_Data_Struct events;
  for (std::size_t i = 0; i < count; ++i) {
    events.push_back(AlarmEvent(kFirst + static_cast<std::uint32_t>(i)));
  }
  return events;
}

// The points of an archive's events, in their order.
std::vector<std::string> Points(const std::string& archive) {
  const std::string document = test::Unpack(archive);
  constexpr char kMark[] = R"("pointId":")";
  std::vector<std::string> points;
  for (auto at = document.find(kMark); at != std::string::npos; at = document.find(kMark, at + 1)) {
    points.push_back(document.substr(at + sizeof(kMark) - 1, 4));
  }
  return points;
}

class AlarmFile : public test::PackTest {
 protected:
  void SetUp() override {
    PackTest::SetUp();
    fs::create_directories(kAlarms);
    Catalogue catalogue;
    for (std::uint32_t i = 0; i < 50; ++i) {
      catalogue.Point(kFirst + i, "Point" + std::to_string(i));
    }
  }

  static Packed PackAlarms(const Alarm_Data_Struct& events) {
    Packed packed;
    packed.result = GetCPackFileInstance().CreateAlarmDataJsonFile(&events, kAlarms, &packed.files);
    return packed;
  }
};

TEST_F(AlarmFile, IsAnArchiveOfOneTextUnderItsBareName) {
  const Packed packed = PackAlarms(Events(1));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre(Archive(0)));
  EXPECT_EQ(test::Members(Archive(0)), "T20240307120000.dat\n");
  EXPECT_THAT(test::ReadFile(Archive(0)), ::testing::StartsWith("\x1f\x8b"));  // gzip
}

TEST_F(AlarmFile, LeavesTheArchiveAlone) {
  PackAlarms(Events(1));

  EXPECT_THAT(test::List(kAlarms), ElementsAre("T20240307120000.tar.gz"));
}

TEST_F(AlarmFile, HoldsTheDocument) {
  PackAlarms({AlarmEvent(kFirst).Threshold(30).Value(31).Type(1).Grade(10).UpFlag(2)});

  EXPECT_EQ(test::Unpack(Archive(0)),
            R"({"sn":"BR0042","alarmDataType":0,"data":[)"
            R"({"groupId":1,"eqpId":3,"alarmTime":"2024-03-07 11:59:30","alarmType":"10100",)"
            R"("alarmGrade":"000A","flag":2,"alarmDes":"Point0()"
            "\xE9\x98\x80\xE5\x80\xBC"
            R"j(:30.000)","alarmValues":[{"pointId":"0001",)j"
            R"("values":[{"timeMark":"2024-03-07 11:59:30","value":"31.000"}]}]}]})");
}

TEST_F(AlarmFile, IsReportedOnce) {
  PackAlarms(Events(1));

  EXPECT_THAT(test::TextLog(), ElementsAre(Succeeded(Archive(0))));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(AlarmFile, IsAppendedToTheFiles) {
  std::vector<std::string> files = {"before"};
  const Alarm_Data_Struct events = Events(21);

  GetCPackFileInstance().CreateAlarmDataJsonFile(&events, kAlarms, &files);

  EXPECT_THAT(files, ElementsAre("before", Archive(0), Archive(1)));
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
  const Packed packed = PackAlarms(Events(GetParam().events));

  EXPECT_EQ(packed.result, 0);
  ASSERT_EQ(packed.files.size(), GetParam().perFile.size());
  std::size_t next = 1;
  for (std::size_t file = 0; file < packed.files.size(); ++file) {
    const auto points = Points(packed.files[file]);
    EXPECT_EQ(points.size(), GetParam().perFile[file]);
    for (const auto& point : points) EXPECT_EQ(std::stoul(point, nullptr, 16), next++);
  }
}

TEST_P(AlarmBurst, TakesAPauseAndAnAttemptAFile) {
  PackAlarms(Events(GetParam().events));

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
  const Packed packed = PackAlarms(Events(41));

  EXPECT_THAT(packed.files, ElementsAre(Archive(0), Archive(1), Archive(2)));
  EXPECT_THAT(test::TextLog(),
              ElementsAre(Succeeded(Archive(0)), Succeeded(Archive(1)), Succeeded(Archive(2))));
}

TEST_F(AlarmFile, IsNamedByTheTimeAtWhichItsDocumentIsComplete) {
  test::AtNextCall(Call::kLocaltime,
                   [] { test::SetTime(test::LocalTimeOf(2024, 12, 31, 23, 59, 59)); });

  const Packed packed = PackAlarms(Events(1));

  EXPECT_THAT(packed.files, ElementsAre(Path("T20241231235959.tar.gz")));
}

TEST_F(AlarmFile, IsNamedBeforeThePauseInFrontOfItsText) {
  std::vector<std::string> seen;  // what stands in the directory at each pause
  test::OnPause([&](Pause) {
    std::string names;
    for (const auto& name : test::List(kAlarms)) names += name;
    seen.push_back(names);
    if (seen.size() == 1) test::SetTime(test::LocalTimeOf(2024, 12, 31));
  });

  PackAlarms(Events(1));

  EXPECT_THAT(seen, ElementsAre("", "T20240307120000.dat"));
}

TEST_F(AlarmFile, ReplacesATextThatWasLeftBehind) {
  test::WriteFile(Path("T20240307120000.dat"), std::string(10000, 'x'));

  PackAlarms(Events(1));

  EXPECT_THAT(test::Unpack(Archive(0)), ::testing::EndsWith("}]}]}]}"));
}

// tar stands in the shell's command line, which it can read.
TEST_F(AlarmFile, IsCompressedByThisCommand) {
  test::ReplaceTar(
      R"(tr '\0' '\n' < /proc/$PPID/cmdline > /tmp/replacement/command; real_tar "$@")");

  PackAlarms(Events(1));

  EXPECT_THAT(test::ReadFile("/tmp/replacement/command"),
              HasSubstr("\ncd " + std::string(kAlarms) +
                        " && tar -zcf T20240307120000.tar.gz T20240307120000.dat > /dev/null "
                        "2>&1; echo $?\n"));
}

TEST_F(AlarmFile, TakesOverFromTheFileBeforeInTheSameCall) {
  Alarm_Data_Struct events = Events(20);
  events.back() = AlarmEvent(kFirst).Type(1).UpFlag(1);
  events.push_back(AlarmEvent(kUnknown).Type(2));

  const Packed packed = PackAlarms(events);

  ASSERT_EQ(packed.files.size(), 2U);
  const std::string second = test::Unpack(packed.files[1]);
  EXPECT_THAT(second, HasSubstr(R"("alarmType":"10100")"));
  EXPECT_THAT(second, HasSubstr(R"j("alarmDes":"Point0(阀值:0.000)")j"));
}

TEST_F(AlarmFile, TakesOverTheTimeFromTheFileBeforeInTheSameCall) {
  Alarm_Data_Struct events = Events(21);
  events[19] = AlarmEvent(kFirst).At(test::LocalTimeOf(2024, 3, 6, 1, 2, 3));
  test::FailCalls(Call::kLocaltime, 1, 22);  // twenty events, a name and a log line come before

  const Packed packed = PackAlarms(events);

  ASSERT_EQ(packed.files.size(), 2U);
  EXPECT_THAT(test::Unpack(packed.files[1]), HasSubstr(R"("alarmTime":"2024-03-06 01:02:03")"));
}

TEST_F(AlarmFile, TakesNothingOverFromAnotherCall) {
  PackAlarms({AlarmEvent(kFirst).Type(1).UpFlag(1)});
  test::FailCalls(Call::kLocaltime);

  const Packed packed = PackAlarms({AlarmEvent(kUnknown).Type(2)});

  ASSERT_EQ(packed.files.size(), 1U);
  const std::string second = test::Unpack(packed.files[0]);
  EXPECT_THAT(second, HasSubstr(R"("alarmTime":"","alarmType":"",)"));
  EXPECT_THAT(second, HasSubstr(R"j("alarmDes":"(阀值:0.000)")j"));
}

struct Trouble {
  const char* name;
  std::string tar;
  int status;  // reported at every attempt; none below 0
};

class AlarmTrouble : public AlarmFile, public ::testing::WithParamInterface<Trouble> {};

TEST_P(AlarmTrouble, LosesTheFileAfterThreeAttemptsAndReturnsZero) {
  test::ReplaceTar(GetParam().tar);

  const Packed packed = PackAlarms(Events(1));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, IsEmpty());
  EXPECT_THAT(test::Pauses(),
              ElementsAre(kBeforeTheText, kBeforeAnAttempt, kBeforeAnAttempt, kBeforeAnAttempt));
}

TEST_P(AlarmTrouble, LeavesTheTextAndNoArchive) {
  test::ReplaceTar(GetParam().tar);

  PackAlarms(Events(1));

  EXPECT_THAT(test::List(kAlarms), ElementsAre("T20240307120000.dat"));
  EXPECT_THAT(test::ReadFile(Path("T20240307120000.dat")),
              ::testing::StartsWith(R"({"sn":"BR0042","alarmDataType":0,"data":[{)"));
}

TEST_P(AlarmTrouble, IsReported) {
  test::ReplaceTar(GetParam().tar);

  PackAlarms(Events(1));

  std::vector<LogRecord> expected;
  if (GetParam().status >= 0) expected.assign(3, Failed(Archive(0), GetParam().status));
  expected.push_back(GaveUp(Archive(0)));
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

TEST_F(AlarmFile, ReportsStatusZeroWhenTheShellCannotBeStarted) {
  test::FailCalls(Call::kPopen, 3);

  const Packed packed = PackAlarms(Events(1));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(test::TextLog(), ElementsAre(Failed(Archive(0), 0), Failed(Archive(0), 0),
                                           Failed(Archive(0), 0), GaveUp(Archive(0))));
}

TEST_F(AlarmFile, IsMadeAtTheThirdAttempt) {
  test::FailCalls(Call::kPopen, 2);

  const Packed packed = PackAlarms(Events(1));

  EXPECT_THAT(packed.files, ElementsAre(Archive(0)));
  EXPECT_THAT(test::TextLog(),
              ElementsAre(Failed(Archive(0), 0), Failed(Archive(0), 0), Succeeded(Archive(0))));
  EXPECT_THAT(test::List(kAlarms), ElementsAre("T20240307120000.tar.gz"));
}

TEST_F(AlarmFile, ThatIsLostDoesNotHoldUpTheNext) {
  test::FailCalls(Call::kPopen, 3, 1);

  const Packed packed = PackAlarms(Events(41));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre(Archive(0), Archive(4)));
  EXPECT_THAT(Points(packed.files[0]), ::testing::SizeIs(20));
  EXPECT_THAT(Points(packed.files[1]), ElementsAre("0029"));
  EXPECT_THAT(test::List(kAlarms), ElementsAre("T20240307120000.tar.gz", "T20240307120001.dat",
                                               "T20240307120004.tar.gz"));
  EXPECT_THAT(test::TextLog(),
              ElementsAre(Succeeded(Archive(0)), Failed(Archive(1), 0), Failed(Archive(1), 0),
                          Failed(Archive(1), 0), GaveUp(Archive(1)), Succeeded(Archive(4))));
}

TEST_F(AlarmFile, ThatIsLostLendsToTheNextAllTheSame) {
  Alarm_Data_Struct events(20, AlarmEvent(kFirst));
  events.insert(events.end(), 20, AlarmEvent(kFirst + 1).Type(1));
  events.push_back(AlarmEvent(kUnknown).Type(2));
  test::FailCalls(Call::kPopen, 3, 1);

  const Packed packed = PackAlarms(events);

  ASSERT_EQ(packed.files.size(), 2U);
  EXPECT_THAT(test::Unpack(packed.files[1]), HasSubstr(R"("alarmType":"10101")"));
  EXPECT_THAT(test::Unpack(packed.files[1]), HasSubstr(R"j("alarmDes":"Point1(阀值:0.000)")j"));
}

TEST_F(AlarmFile, IsLostWhenTheTimeCannotBeToldAndTheNextIsMade) {
  test::FailCalls(Call::kLocaltime, 1, 20);  // behind twenty events, at the first name

  const Packed packed = PackAlarms(Events(21));

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre(Archive(0)));
  EXPECT_THAT(Points(Archive(0)), ElementsAre("0015"));
  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"WARN", "CreateAlarmDataJsonFile in " + std::string(kAlarms) +
                                                " failed, no local time"},
                          Succeeded(Archive(0))));
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

  EXPECT_EXIT(PackAlarms(Events(1)), KilledBySignal(SIGABRT), kStop);
}

TEST_F(AlarmFileStop, EndsTheProcessWhenTheTextCannotBeOpened) {
  fs::create_directories(Path("T20240307120000.dat"));

  EXPECT_EXIT(PackAlarms(Events(1)), KilledBySignal(SIGABRT), kStop);
}

TEST_F(AlarmFileStop, DoesNotComeWithoutEvents) {
  fs::remove_all(kAlarms);

  EXPECT_EXIT(std::exit(PackAlarms({}).result), ::testing::ExitedWithCode(0), "");
}

}  // namespace
