// The recall-data file: its names, its messages, its pauses, and what is left of one that cannot be
// compressed.
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "historytap.h"
#include "packfile/archive.h"
#include "packtest.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/historydatabase.h"
#include "support/logs.h"

using test::Call;
using test::LogRecord;
using test::Pause;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::KilledBySignal;

namespace fs = std::filesystem;

namespace {

constexpr char kRecalls[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata";
constexpr char kText[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata/R20240307120000.dat";
constexpr char kArchive[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata/R20240307120000.tar.gz";
constexpr char kDocument[] = R"({"sn":"BR0042","id":7,"data":[]})";
constexpr Pause kBeforeAnAttempt{1000000};

LogRecord Failed(int status) {
  return {"WARN", std::string("CreateRecallDataJsonFile ") + kArchive + " failed,errno " +
                      std::to_string(status)};
}
LogRecord Succeeded() {
  return {"INFO", std::string("CreateRecallDataJsonFile ") + kArchive + " Success"};
}

class RecallFile : public test::PackTest {
 protected:
  void SetUp() override {
    PackTest::SetUp();
    fs::create_directories(kRecalls);
  }

  std::int32_t PackRecall(std::int32_t id = 7) {
    const ST_CHECKCALL_ACK order{.sn = "BR0042", .id = id, .devs = m_devices};
    return GetCPackFileInstance().CreateRecallDataJsonFile(&order, kRecalls, &m_file);
  }

  std::vector<ST_SINGLE_CALL_DEV> m_devices;
  std::string m_file = "untouched";
};

TEST_F(RecallFile, IsAnArchiveOfOneTextUnderItsBareName) {
  EXPECT_EQ(PackRecall(), 0);
  EXPECT_EQ(m_file, kArchive);
  EXPECT_EQ(test::Members(kArchive), "R20240307120000.dat\n");
  EXPECT_EQ(test::Unpack(kArchive), kDocument);
  EXPECT_THAT(test::ReadFile(kArchive), ::testing::StartsWith("\x1f\x8b"));  // gzip
}

TEST_F(RecallFile, LeavesTheArchiveAlone) {
  PackRecall();

  EXPECT_THAT(test::List(kRecalls), ElementsAre("R20240307120000.tar.gz"));
}

TEST_F(RecallFile, HoldsTheHistory) {
  const auto ten = test::LocalTimeOf(2024, 3, 7, 10);
  test::HistoryDatabase().Add({.dataId = 0x01030001, .time = ten, .value = 12.5});
  const auto minute = static_cast<std::uint32_t>(ten);
  m_devices = {{.groupId = 1,
                .eqpId = 3,
                .points = {{.pointId = 1, .beginTime = minute, .endTime = minute}}}};

  PackRecall();

  EXPECT_EQ(test::Unpack(kArchive), R"({"sn":"BR0042","id":7,"data":[)"
                                    R"({"groupId":1,"eqpId":3,"pointId":"0001","flag":1,"values":[)"
                                    R"({"timeMark":"2024-03-07 10:00:00","value":"12.500"}]}]})");
}

TEST_F(RecallFile, IsMadeAlsoOfDevicesWithoutPoints) {
  m_devices = {{.groupId = 1, .eqpId = 3, .points = {}}};

  EXPECT_EQ(PackRecall(), 0);
  EXPECT_EQ(test::Unpack(kArchive), kDocument);
}

TEST_F(RecallFile, IsReportedOnce) {
  PackRecall();

  EXPECT_THAT(test::TextLog(), ElementsAre(Succeeded()));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(RecallFile, TakesOneSecondForAnAttempt) {
  PackRecall();

  EXPECT_THAT(test::Pauses(), ElementsAre(kBeforeAnAttempt));
}

TEST_F(RecallFile, IsNamedByTheTimeAtWhichItWasBegun) {
  m_devices = {
      {.groupId = 1, .eqpId = 3, .points = {{.pointId = 1, .beginTime = 0, .endTime = 0}}}};
  test::HistoryDatabase().Table(0x01030001);
  test::AtNextCall(Call::kSqliteOpen, [] { test::SetTime(test::LocalTimeOf(2024, 12, 31)); });

  PackRecall();

  EXPECT_EQ(std::time(nullptr), test::LocalTimeOf(2024, 12, 31, 0, 0, 1));
  EXPECT_EQ(m_file, kArchive);
}

TEST_F(RecallFile, HasItsTextWrittenBeforeTheCompression) {
  std::vector<std::string> seen;
  test::OnPause([&](Pause) { seen = test::List(kRecalls); });

  PackRecall();

  EXPECT_THAT(seen, ElementsAre("R20240307120000.dat"));
}

TEST_F(RecallFile, OfTheSameSecondReplacesTheFirst) {
  PackRecall(1);
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 12));

  EXPECT_EQ(PackRecall(2), 0);
  EXPECT_EQ(m_file, kArchive);
  EXPECT_EQ(test::Unpack(kArchive), R"({"sn":"BR0042","id":2,"data":[]})");
  EXPECT_THAT(test::List(kRecalls), ElementsAre("R20240307120000.tar.gz"));
}

TEST_F(RecallFile, ReplacesATextThatWasLeftBehind) {
  test::WriteFile(kText, std::string(10000, 'x'));

  PackRecall();

  EXPECT_EQ(test::Unpack(kArchive), kDocument);
}

// The command differs from the other files' by the blank before "echo".
TEST_F(RecallFile, IsCompressedByThisCommand) {
  test::ReplaceTar(
      R"(tr '\0' '\n' < /proc/$PPID/cmdline > /tmp/replacement/command; real_tar "$@")");

  PackRecall();

  EXPECT_THAT(test::ReadFile("/tmp/replacement/command"),
              HasSubstr("\ncd " + std::string(kRecalls) +
                        " && tar -zcf R20240307120000.tar.gz R20240307120000.dat > /dev/null "
                        "2>&1;echo $?\n"));
}

TEST(RecallFileNames, HaveACommandWithoutTheBlank) {
  std::tm moment{};
  moment.tm_year = 124;
  moment.tm_mday = 2;

  const DataFileNames names = NameDataFile('R', "/d", moment, kTellRecallStatus);

  EXPECT_STREQ(names.name, "R20240102000000");
  EXPECT_STREQ(names.command,
               "cd /d && tar -zcf R20240102000000.tar.gz R20240102000000.dat > /dev/null 2>&1;"
               "echo $?");
}

struct Trouble {
  const char* name;
  std::string tar;
  std::vector<LogRecord> perAttempt;
  std::string archive;  // what is left of it
  bool left;
};

class RecallTrouble : public RecallFile, public ::testing::WithParamInterface<Trouble> {};

TEST_P(RecallTrouble, FailsTheFileAfterThreeAttempts) {
  test::ReplaceTar(GetParam().tar);

  EXPECT_EQ(PackRecall(), -1);
  EXPECT_EQ(m_file, "untouched");
  EXPECT_THAT(test::Pauses(), ElementsAre(kBeforeAnAttempt, kBeforeAnAttempt, kBeforeAnAttempt));
}

TEST_P(RecallTrouble, LeavesTheTextAndThePartOfAnArchive) {
  test::ReplaceTar(GetParam().tar);

  PackRecall();

  EXPECT_EQ(test::ReadFile(kText), kDocument);
  EXPECT_EQ(test::Exists(kArchive), GetParam().left);
  EXPECT_EQ(test::ReadFile(kArchive), GetParam().archive);
}

TEST_P(RecallTrouble, IsReportedAttemptByAttemptWithoutAClosingWord) {
  test::ReplaceTar(GetParam().tar);

  PackRecall();

  std::vector<LogRecord> expected;
  for (int attempt = 0; attempt < 3; ++attempt) {
    expected.insert(expected.end(), GetParam().perAttempt.begin(), GetParam().perAttempt.end());
  }
  EXPECT_EQ(test::TextLog(), expected);
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Tars, RecallTrouble,
    ::testing::Values(
        Trouble{"ThatFails", "exit 7", {Failed(7)}, "", false},
        Trouble{"ThatFailsHalfWay", "printf part > $2; exit 2", {Failed(2)}, "part", true},
        Trouble{"ThatDoesNothing", "exit 0", {}, "", false},
        Trouble{"ThatLeavesAnEmptyArchive", ": > $2", {}, "", true}),
    [](const auto& test) { return test.param.name; });

TEST_F(RecallFile, ReportsStatusZeroWhenTheShellCannotBeStarted) {
  test::FailCalls(Call::kPopen, 3);

  EXPECT_EQ(PackRecall(), -1);
  EXPECT_THAT(test::TextLog(), ElementsAre(Failed(0), Failed(0), Failed(0)));
}

TEST_F(RecallFile, IsNotMadeOfATextThatTheCardDidNotTakeWhole) {
  ASSERT_EQ(symlink("/dev/full", kText), 0);

  EXPECT_EQ(PackRecall(), -1);

  EXPECT_FALSE(fs::is_symlink(kText));
  EXPECT_THAT(test::TextLog(), ElementsAre(Failed(28), Failed(28), Failed(28)));
}

TEST_F(RecallFile, LeavesAnOlderArchiveWhenItGivesUp) {
  test::WriteFile(kArchive, "older");
  test::FailCalls(Call::kPopen, 3);

  EXPECT_EQ(PackRecall(), -1);
  EXPECT_EQ(test::ReadFile(kArchive), "older");
}

TEST_F(RecallFile, IsMadeAtTheThirdAttempt) {
  test::FailCalls(Call::kPopen, 2);

  EXPECT_EQ(PackRecall(), 0);
  EXPECT_EQ(m_file, kArchive);
  EXPECT_THAT(test::TextLog(), ElementsAre(Failed(0), Failed(0), Succeeded()));
}

TEST_F(RecallFile, IsNotMadeWhenTheTimeCannotBeTold) {
  test::FailCalls(Call::kLocaltime);

  EXPECT_EQ(PackRecall(), -1);
  EXPECT_EQ(m_file, "untouched");
  EXPECT_THAT(test::List(kRecalls), IsEmpty());
  EXPECT_THAT(test::Pauses(), IsEmpty());
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

// The stop holds in every build type; its message is the one of assert.
class RecallFileStop : public RecallFile {
 protected:
  void SetUp() override {
    RecallFile::SetUp();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
  }
};

constexpr char kStop[] =
    "packfile/packfile\\.cpp:[0-9]+: .*CPackFile::CreateRecallDataJsonFile\\(.*\\): "
    "Assertion `ofs\\.is_open\\(\\)' failed";

TEST_F(RecallFileStop, EndsTheProcessWithoutADirectoryForTheText) {
  fs::remove_all(kRecalls);

  EXPECT_EXIT(PackRecall(), KilledBySignal(SIGABRT), kStop);
}

TEST_F(RecallFileStop, EndsTheProcessWhenTheTextCannotBeOpened) {
  fs::create_directories(kText);

  EXPECT_EXIT(PackRecall(), KilledBySignal(SIGABRT), kStop);
}

constexpr std::uint32_t kFourteenDays = 14 * 24 * 60;  // minutes

// An order that names one point so often, with fourteen days of minutes from 2024-02-01.
class LongRecall : public RecallFile {
 protected:
  void Order(std::size_t times) {
    const auto first = static_cast<std::uint32_t>(test::LocalTimeOf(2024, 2, 1));
    m_point.beginTime = first;
    m_point.endTime = first + (kFourteenDays - 1) * 60;
    m_devices = {{.groupId = 1, .eqpId = 3, .points = {times, m_point}}};
  }
  void ExpectNothingMade() {
    EXPECT_EQ(m_file, "");
    EXPECT_TRUE(fs::is_empty(kRecalls));
    EXPECT_THAT(test::Pauses(), IsEmpty());
    EXPECT_THAT(test::TextLog(),
                ElementsAre(LogRecord{"WARN",
                                      "Recall 7 has more than 6291456 bytes or 20160 values of a "
                                      "point,judge it send OK"}));
  }

  ST_SINGLE_CALL_POINT m_point{.pointId = 0x4D, .beginTime = 0, .endTime = 0};
};

TEST_F(LongRecall, IsMadeOfUpToSixMebibytes) {
  Order(5);
  test::HistoryDatabase().Series(0x0103004D, m_point.beginTime, m_point.endTime);

  EXPECT_EQ(PackRecall(), 0);
  EXPECT_EQ(m_file, kArchive);
}

TEST_F(LongRecall, OfMoreCountsAsSentAndLeavesNothing) {
  Order(6);
  test::HistoryDatabase().Series(0x0103004D, m_point.beginTime, m_point.endTime);

  EXPECT_EQ(PackRecall(), 0);
  ExpectNothingMade();
}

TEST_F(LongRecall, OfMoreThanFourteenDaysOfAPointCountsAsSentAndLeavesNothing) {
  Order(1);
  test::AnswerNextRecall(0, std::vector<ST_SINGLE_POINT_VALUE>(kFourteenDays + 1));

  EXPECT_EQ(PackRecall(), 0);
  ExpectNothingMade();
}

// So what is refused beyond them could not have been sent.
TEST_F(LongRecall, OfFourteenDaysOfOneValueIsTooLargeToBeSent) {
  Order(1);
  std::vector<ST_SINGLE_POINT_VALUE> values;
  for (auto time = m_point.beginTime; time <= m_point.endTime; time += 60) {
    values.push_back({.UnixTime = time, .TriggerValue = 0});
  }
  test::AnswerNextRecall(1, std::move(values));

  EXPECT_EQ(PackRecall(), 0);
  EXPECT_GE(fs::file_size(kArchive), 40960U);
}

}  // namespace
