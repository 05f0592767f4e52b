// The packer's three builders: what they log, return and leave, from the look-ups to the archive.
#include "packfile/packfile.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "packtest.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/historydatabase.h"
#include "support/logs.h"

using namespace test;
using namespace testing;

namespace {

constexpr std::uint32_t kTankLevel = 0x0103004D;
constexpr std::uint32_t kTen = 1709776800;  // 2024-03-07 10:00:00

// The outcome of one call.
struct Packed {
  int result = 0;
  std::vector<std::string> files{"before"};  // appended to
};

Packed PackRealData(Real_Data_Struct values, std::time_t when = std::time(nullptr)) {
  Packed packed;
  packed.result =
      GetCPackFileInstance().CreateRealDataJsonFile(&values, kRealDataDay, &packed.files, when);
  return packed;
}

Packed PackAlarm() {
  const Alarm_Data_Struct events{AlarmEvent{.dataId = kTankLevel}};
  Packed packed;
  packed.result = GetCPackFileInstance().CreateAlarmDataJsonFile(&events, kAlarmDay, &packed.files);
  return packed;
}

Packed PackRecall(std::uint32_t minutes = 1) {
  const std::uint32_t last = kTen + (minutes - 1) * 60;
  const ST_CHECKCALL_ACK order{
      .sn = "",
      .id = 7,
      .devs = {{.groupId = 1,
                .eqpId = 3,
                .points = {{.pointId = 0x4D, .beginTime = kTen, .endTime = last}}}}};
  Packed packed;
  std::string file = "untouched";
  packed.result = GetCPackFileInstance().CreateRecallDataJsonFile(&order, kRecalls, &file);
  if (file != "untouched") packed.files.push_back(file);
  return packed;
}

struct Builder {
  const char* function;
  const char* directory;
  const char* name;
  Packed (*pack)();
  int failure;         // the result after three failed attempts
  bool givesUp;        // logs that it gives up and removes the remains
  const char* values;  // the end of its document
};

class PackedFile : public PackTest, public WithParamInterface<Builder> {
 protected:
  void SetUp() override {
    PackTest::SetUp();
    AddPoint(kTankLevel, "Level");
    HistoryDatabase().Add({.dataId = kTankLevel, .time = kTen, .value = 2});
  }
  static std::string Path(const std::string& ending) {
    return std::string(GetParam().directory) + "/" + GetParam().name + ending;
  }
  static LogRecord Line(const char* level, const std::string& before, const std::string& after) {
    return {level, before + GetParam().function + " " + Path(".tar.gz") + after};
  }
};

TEST_P(PackedFile, HoldsTheDocumentAndLogsItsSuccess) {
  const Packed packed = GetParam().pack();

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre("before", Path(".tar.gz")));
  EXPECT_THAT(Unpack(Path(".tar.gz")),
              AllOf(StartsWith(R"({"sn":"BR0042",)"), EndsWith(GetParam().values)));
  EXPECT_THAT(TextLog(), ElementsAre(Line("INFO", "", " Success")));
}

TEST_P(PackedFile, LogsEachFailedAttemptAndKeepsItsText) {
  ReplaceTar("echo part > $2; exit 7");

  const Packed packed = GetParam().pack();

  const LogRecord failed = Line("WARN", "", " failed,errno 7");
  const LogRecord gaveUp = Line("WARN", "try 3 times,but ", " failed");
  const auto log = TextLog();
  EXPECT_EQ(log.front(), failed);
  EXPECT_EQ(log.back(), GetParam().givesUp ? gaveUp : failed);
  EXPECT_EQ(packed.result, GetParam().failure);
  EXPECT_THAT(packed.files, ElementsAre("before"));
  EXPECT_THAT(ReadFile(Path(".dat")), EndsWith(GetParam().values));
  EXPECT_NE(Exists(Path(".tar.gz")), GetParam().givesUp);
}

TEST_P(PackedFile, RefusesATextThatTheCardDidNotTakeWhole) {
  ASSERT_EQ(symlink("/dev/full", Path(".dat").c_str()), 0);

  const Packed packed = GetParam().pack();

  EXPECT_EQ(packed.result, GetParam().failure);
  EXPECT_THAT(List(GetParam().directory), IsEmpty());
  EXPECT_THAT(TextLog("WARN").at(0), HasSubstr("errno 28"));
}

// The stop holds in every build type; its message is the one of assert.
TEST_P(PackedFile, EndsTheProcessWhenItsTextCannotBeOpened) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  std::filesystem::create_directories(Path(".dat"));

  EXPECT_EXIT(GetParam().pack(), KilledBySignal(SIGABRT),
              "packfile/packfile\\.cpp:[0-9]+: .*CPackFile::" + std::string(GetParam().function) +
                  "\\(.*\\): Assertion `ofs\\.is_open\\(\\)' failed");
}

INSTANTIATE_TEST_SUITE_P(
    Builders, PackedFile,
    ::testing::Values(
        Builder{
            "CreateRealDataJsonFile", kRealDataDay, "S20240306120000",
            [] {
              return PackRealData({{kTankLevel, 1}}, LocalTimeOf(2024, 3, 6, 12));
            },
            -1, true,
            R"("timeMark":"2024-03-06 12:00:00","values":[{"pointId":"004D","value":"1.000"}]}]})"},
        Builder{"CreateAlarmDataJsonFile", kAlarmDay, "T20240307120000", PackAlarm, 0, true,
                R"j("alarmDes":"Level(阀值:0.000)","alarmValues":[{"pointId":"004D",)j"
                R"("values":[{"timeMark":"2024-03-07 11:59:30","value":"0.000"}]}]}]})"},
        Builder{"CreateRecallDataJsonFile", kRecalls, "R20240307120000",
                [] { return PackRecall(); }, -1, false,
                R"("values":[{"timeMark":"2024-03-07 10:00:00","value":"2.000"}]}]})"}),
    [](const auto& test) { return test.param.function; });

class Packer : public PackTest {};

TEST_F(Packer, FailsSilentlyWhenTheTimeCannotBeConverted) {
  for (Packed (*pack)() : {+[] { return PackRealData({}); }, +[] { return PackRecall(); }}) {
    FailCalls(Call::kLocaltime);

    const Packed packed = pack();

    EXPECT_EQ(packed.result, -1);
    EXPECT_THAT(packed.files, ElementsAre("before"));
  }
  EXPECT_THAT(TextLog(), IsEmpty());
}

class RealDataFile : public PackTest {};

TEST_F(RealDataFile, IsNotMadeWhenAPointHasNoValue) {
  AddPoint(0x0A0300FE);
  const std::string text = std::string(kRealDataDay) + "/S20240307120000.dat";

  const Packed packed = PackRealData({});

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre("before"));
  EXPECT_FALSE(Exists(text));
  EXPECT_THAT(TextLog("INFO"),
              ElementsAre("CreateRealDataJsonFile " + text + " Error, can't find id: 0a0300fe"));
}

class RecallFile : public PackTest {};

TEST_F(RecallFile, IsNamedByTheTimeAtWhichItWasBegun) {
  HistoryDatabase().Table(kTankLevel);
  AtNextCall(Call::kSqliteOpen, [] { SetTime(LocalTimeOf(2024, 12, 31)); });

  EXPECT_THAT(PackRecall().files, Contains(HasSubstr("/R20240307120000.tar.gz")));
  EXPECT_GE(std::time(nullptr), LocalTimeOf(2024, 12, 31));
}

// tar stands in the shell's command line, which it can read.
TEST_F(RecallFile, AsksForTheStatusWithACommandWithoutABlank) {
  ReplaceTar(R"(tr '\0' '\n' < /proc/$PPID/cmdline > /tmp/replacement/command; real_tar "$@")");

  PackRecall();

  EXPECT_THAT(ReadFile("/tmp/replacement/command"), HasSubstr("2>&1;echo $?\n"));
}

TEST_F(RecallFile, CountsAsSentAndLeavesNothingWhenItIsTooLarge) {
  constexpr std::uint32_t kTooMany = 14 * 24 * 60 + 1;
  HistoryDatabase().Series(kTankLevel, kTen, kTen + (kTooMany - 1) * 60);

  const Packed packed = PackRecall(kTooMany);

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre("before", ""));
  EXPECT_THAT(List(kRecalls), IsEmpty());
  EXPECT_THAT(TextLog("WARN"),
              ElementsAre("Recall 7 has more than 6291456 bytes or 20160 values of a point,judge "
                          "it send OK"));
}

}  // namespace
