// What the bench reads and prints line by line: terminal, text log, ledger.
#include <gtest/gtest.h>

#include <sstream>

#include "console/bench/ledgercounts.h"
#include "console/bench/logfollower.h"
#include "console/bench/terminal.h"
#include "support/files.h"
#include "util/directory.h"
#include "util/paths.h"
#include "util/sqlite.h"

namespace {

using console::JsonWriter;
using console::Terminal;

template <typename Part>
std::string StateOf(const Part& part) {
  return console::JsonReply([&](JsonWriter& json) {
           json.StartObject();
           part.WriteState(json);
           json.EndObject();
         })
      .body;
}

TEST(BenchTerminal, LabelsEachLineAndHandsItOn) {
  std::ostringstream output;
  std::string also;
  Terminal terminal(
      output, Terminal::Style::kNoProgress,
      [&](const std::string& label, const std::string& text) { also = label + "|" + text; });

  terminal.Line("cloud", "listening\x1b[2J");

  EXPECT_EQ(output.str(), "[cloud      ] listening?[2J\n");
  EXPECT_EQ(also, "cloud|listening?[2J");
}

TEST(BenchTerminal, KeepsTheProgressLineBelowTheOthers) {
  std::ostringstream output;
  Terminal terminal(output, Terminal::Style::kTakenBack);

  terminal.Progress("accepted 1");
  terminal.Line("run", "x");

  EXPECT_EQ(output.str(), "\r\x1b[Kaccepted 1\r\x1b[K[run        ] x\naccepted 1");
}

TEST(BenchTerminal, PrintsNoProgressToAFile) {
  std::ostringstream output;
  Terminal terminal(output, Terminal::Style::kNoProgress);

  terminal.Progress("accepted 1");

  EXPECT_EQ(output.str(), "");
}

TEST(BenchTerminal, LabelsProgressForAProgramThatShowsIt) {
  std::ostringstream output;
  {
    Terminal terminal(output, Terminal::Style::kLabelled);
    terminal.Progress("accepted 1");
    terminal.Progress("accepted 1");
    terminal.Line("run", "x");
  }

  EXPECT_EQ(output.str(), "[progress   ] accepted 1\n[run        ] x\n");
}

class BenchLog : public ::testing::Test {
 protected:
  void SetUp() override { test::Empty(kFolder); }
  std::vector<std::string> Look() {
    std::vector<std::string> records;
    m_log.Look([&](const std::string& record) { records.push_back(record); });
    return records;
  }
  using Records = std::vector<std::string>;

  static constexpr char kFolder[] = "/tmp/day-logs";
  static constexpr char kToday[] = "/tmp/day-logs/1122_log.txt";
  console::LogFollower m_log{kFolder};
};

TEST_F(BenchLog, MakesARecordOneLine) {
  test::WriteFile(kToday, "2026-11-22 15:00:05 logType:INFO\n Brennik is Set on\n");

  EXPECT_EQ(Look(), Records{"15:00:05 INFO Brennik is Set on"});
  EXPECT_EQ(Look(), Records{});
}

TEST_F(BenchLog, WaitsForTheRestOfARecord) {
  const std::string begin = "2026-11-22 15:00:05 logType:WARN\n no an";
  test::WriteFile(kToday, begin);
  EXPECT_EQ(Look(), Records{});

  test::WriteFile(kToday, begin + "swer\n");

  EXPECT_EQ(Look(), Records{"15:00:05 WARN no answer"});
}

TEST_F(BenchLog, ReadsAFileThatBeganAnew) {
  test::WriteFile(kToday, "2026-11-22 15:00:05 logType:INFO\n a long first message\n");
  Look();

  test::WriteFile(kToday, "2026-11-22 16:00:00 logType:INFO\n new\n");

  EXPECT_EQ(Look(), Records{"16:00:00 INFO new"});
}

TEST(BenchLedgerCounts, CountsRowsByKindAndResult) {
  test::Empty(paths::kLedgerDirectory);
  util::MakeDirectories(paths::kLedgerDirectory, util::kPathBytes, util::kPathBytes);
  util::Database ledger(paths::kLedger);
  ASSERT_TRUE(ledger.Execute("create table tJsonFileNames(FileName,FileType,Result)"));
  ASSERT_TRUE(ledger.Execute(
      "insert into tJsonFileNames "
      "values('a',1,0),('b',2,0),('c',2,0),('d',2,1),('e',1,1),('f',2,1),('g',2,0)"));
  console::LedgerCounts counts;

  counts.Look();

  EXPECT_EQ(counts.Text(), "real data and alarms: 3 accepted, 4 pending");
  EXPECT_EQ(StateOf(counts), R"({"ledger":{"realdata":{"accepted":2,"pending":3},)"
                             R"("alarmdata":{"accepted":1,"pending":1}}})");
}

TEST(BenchLedgerCounts, KeepsItsCountsWhileTheLedgerCannotBeRead) {
  test::Empty(paths::kLedgerDirectory);
  util::MakeDirectories(paths::kLedgerDirectory, util::kPathBytes, util::kPathBytes);
  util::Database ledger(paths::kLedger);
  ASSERT_TRUE(ledger.Execute("create table tJsonFileNames(FileName,FileType,Result)"));
  ASSERT_TRUE(ledger.Execute("insert into tJsonFileNames values('a',1,1)"));
  console::LedgerCounts counts;
  counts.Look();

  ASSERT_TRUE(ledger.Execute("begin exclusive"));
  counts.Look();

  EXPECT_EQ(counts.Text(), "real data and alarms: 1 accepted, 0 pending");
}

}  // namespace
