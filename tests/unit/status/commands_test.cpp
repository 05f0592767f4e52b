// The commands that look at files and at the month, and their output.
#include <fcntl.h>
#include <unistd.h>

#include <functional>
#include <thread>

#include "unit/status/commandsrunning.h"

using test::CommandsTest;
using test::kName;
using test::Outcome;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

constexpr char kArchivePath[] =
    "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307040000.tar.gz";

// The life of kName, with another file's answer in between.
void LogLife(const std::function<void(const std::string&)>& log) {
  const std::string path = kArchivePath;
  log("04:00:02 INFO CreateRealDataJsonFile " + path + " Success");
  log("04:00:30 INFO start Send realdata " + path + " to http://127.0.0.1/x");
  log("04:00:30 INFO start Send file S20240307040000.tar.gz to http://127.0.0.1/x");
  log("04:00:31 INFO UPloadFile recv message:{\"status\":1,\"message\":\"\x1b[2J full\"}");
  log("04:00:31 INFO Send file " + path + " finish");
  log("04:00:31 WARN Send realdata " + path + " to http://127.0.0.1/x failed");
  log("04:00:40 INFO start Send file R20240307035000.tar.gz to http://127.0.0.1/x");
  log("04:00:41 INFO UPloadFile recv message:{\"status\":0,\"message\":\"other\"}");
  log("04:02:31 INFO Send realdata " + path + " to http://127.0.0.1/x successfully");
}

TEST_F(CommandsTest, ShowsTheLifeOfAFileByEachOfItsNames) {
  WriteLedger({{kName, 1}});
  WriteArchive();
  LogLife(Log);
  for (const std::string& name :
       {std::string("S20240307040000"), std::string(kName), std::string(kArchivePath),
        std::string("S20240307040000.tar.gz"), std::string("S20240307040000.dat")}) {
    SCOPED_TRACE(name);
    const Outcome outcome = Run(status::ShowFile, name);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.text, HasSubstr("ledger   accepted\n"));
    EXPECT_THAT(outcome.text, HasSubstr("kind     live values\n"));
    EXPECT_THAT(outcome.text, HasSubstr(" bytes, written 2024-03-07 04:00:01\n"));
    EXPECT_THAT(outcome.text, HasSubstr("\n2024-03-07 04:00:01  archive "));
    EXPECT_THAT(outcome.text, HasSubstr("\n2024-03-07 04:00:02  packed "));
    EXPECT_THAT(outcome.text, HasSubstr("\n2024-03-07 04:00:31  answered "));
    EXPECT_THAT(outcome.text, HasSubstr("\\x1b[2J full"));
    EXPECT_THAT(outcome.text, HasSubstr("\n2024-03-07 04:00:31  not accepted "));
    EXPECT_THAT(outcome.text, HasSubstr("\n2024-03-07 04:02:31  accepted "));
    EXPECT_THAT(outcome.text, Not(HasSubstr("other")));
    EXPECT_THAT(outcome.text, HasSubstr("\n  \"x\": 1.500\n"));
    EXPECT_LT(outcome.text.find("archive  "), outcome.text.find("packed"));
  }
}

TEST_F(CommandsTest, KeepsTheEndsOfALongLife) {
  for (int i = 0; i < 300; ++i) {
    Log(util::Format("05:%02d:%02d WARN Send realdata %s to x failed", i / 60, i % 60,
                     kArchivePath));
  }
  const Outcome outcome = Run(status::ShowFile, "S20240307040000");
  EXPECT_THAT(outcome.text, HasSubstr("05:00:39"));
  EXPECT_THAT(outcome.text, HasSubstr(" 220 records are left out"));
  EXPECT_THAT(outcome.text, Not(HasSubstr("05:00:40")));
  EXPECT_THAT(outcome.text, Not(HasSubstr("05:04:19")));
  EXPECT_THAT(outcome.text, HasSubstr("05:04:20"));
}

TEST_F(CommandsTest, ShowsFilesThatAreNotWhole) {
  WriteLedger({{kName, 0}});
  EXPECT_THAT(Run(status::ShowFile, kName).text, HasSubstr("S20240307040000.tar.gz is missing\n"));
  EXPECT_THAT(Run(status::ShowFile, kName).text, HasSubstr("ledger   pending\n"));
  test::WriteFile("/media/mmcblk0p1/Cloud/JsonFiles/calldata/R20240307040000.tar.gz", "portal");
  const Outcome recall = Run(status::ShowFile, "R20240307040000");
  EXPECT_EQ(recall.status, 0);
  EXPECT_THAT(recall.text, HasSubstr(": it is not compressed with gzip\n"));
  EXPECT_THAT(recall.text, HasSubstr("recalled history"));
  test::WriteFile("/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307050000.dat", "{}");
  EXPECT_THAT(Run(status::ShowFile, "S20240307050000").text,
              HasSubstr("S20240307050000.dat, 2 bytes"));
}

TEST_F(CommandsTest, RefusesAFileThatNobodyKnows) {
  WriteLedger({{kName, 0}});
  LogLife(Log);
  for (const char* name : {"S20240307040001", "", "/", "nonsense", ".tar.gz", "%s", "\x1b[2J"}) {
    const Outcome outcome = Run(status::ShowFile, name);
    EXPECT_EQ(outcome.status, 1) << name;
    EXPECT_THAT(outcome.text, HasSubstr(" is unknown"));
    EXPECT_THAT(outcome.text, Not(HasSubstr("\x1b")));
  }
}

TEST_F(CommandsTest, ShowsTheMonthWithItsGaps) {
  unsetenv("LC_ALL");
  setenv("LANG", "C", 1);
  std::vector<std::pair<std::string, int>> rows;
  for (int minute = 0; minute < 12 * 60; minute += 5) {
    if (minute >= 300 && minute < 420) continue;
    rows.emplace_back(
        util::Format("realdata/7/S20240307%02d%02d00.tar.gz", minute / 60, minute % 60),
        minute != 600);
  }
  WriteLedger(rows);
  Log("03:00:02 INFO real IP has become 127.0.0.1");
  Log("04:59:00 WARN Can not find File /x/S1.tar.gz when send files,judge it send OK");
  Log("06:58:00 INFO CreateRealDataJsonFile /x/S20240307065500.tar.gz failed,errno 28");
  const Outcome outcome = Run(status::ShowGaps);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.text, HasSubstr("2024-02-06  ------------------------\n"));
  EXPECT_THAT(outcome.text, HasSubstr("2024-03-07  #####xx###o#............\n"));
  EXPECT_THAT(outcome.text, HasSubstr("a file every 300 s (RealDataInv)"));
  EXPECT_THAT(outcome.text,
              HasSubstr("2024-03-07 04:55:00 to 2024-03-07 07:00:00  24 files  packing failed, "
                        "errno 28: the card was full\n"));
  EXPECT_THAT(outcome.text, HasSubstr("1 file counted as accepted without being sent"));
  EXPECT_THAT(outcome.text, HasSubstr("2024-03-07 04:59:00  /x/S1.tar.gz\n"));
  setenv("LANG", "C.UTF-8", 1);
  EXPECT_THAT(Run(status::ShowGaps).text, HasSubstr("█████xx███░█...."));
}

TEST_F(CommandsTest, SaysWhyTheMonthCannotBeShown) {
  const Outcome outcome = Run(status::ShowGaps);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.text, "there is no ledger\n");
}

TEST_F(CommandsTest, WaitsForAFileThatWasNotThereAtTheCall) {
  const std::string before = "realdata/7/S20240307110000.tar.gz";
  WriteLedger({{before, 0}, {"realdata/7/S20240307200000.tar.gz", 1}});
  test::OnPause([&](test::Pause) {
    const bool isLater = test::Pauses().size() > 1;
    WriteLedger({{before, 1}, {"realdata/7/S20240307115500.tar.gz", isLater}});
  });

  const Outcome found = Run(status::WaitAccepted, "", 60);

  EXPECT_EQ(found.status, 0);
  EXPECT_EQ(found.text, "realdata/7/S20240307115500.tar.gz is accepted, after 10 s\n");
}

TEST_F(CommandsTest, WaitsForAPendingFileWhoseStampIsStillToCome) {
  const std::string next = "realdata/7/S20240307120500.tar.gz";
  WriteLedger({{next, 0}});
  test::OnPause([&](test::Pause) { WriteLedger({{next, 1}}); });

  const Outcome found = Run(status::WaitAccepted, "", 60);

  EXPECT_EQ(found.text, next + " is accepted, after 5 s\n");
}

TEST_F(CommandsTest, EndsWaitingWhenTheTimeIsOver) {
  WriteLedger({{"realdata/7/S20240307110000.tar.gz", 0}});

  const Outcome late = Run(status::WaitAccepted, "", 12);

  EXPECT_EQ(late.status, 2);
  EXPECT_THAT(late.text, StartsWith("No file was made and accepted within 12 s\n"));
}

TEST_F(CommandsTest, DoesNotCallOutputPrintedThatCannotBeWritten) {
  std::fflush(stdout);
  const int kept = dup(STDOUT_FILENO);
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  dup2(full, STDOUT_FILENO);
  std::fputs("x", stdout);
  testing::internal::CaptureStderr();

  const int exitStatus = status::EndOfOutput(0);

  dup2(kept, STDOUT_FILENO);
  close(kept);
  close(full);
  std::clearerr(stdout);
  EXPECT_EQ(exitStatus, 3);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              ::testing::StartsWith("brennik-status: cannot print"));
  EXPECT_EQ(status::EndOfOutput(1), 1);
}

TEST_F(CommandsTest, TellsItsVersion) {
  const Outcome outcome = Run(status::ShowVersion);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.text, ::testing::ContainsRegex(
                                "^brennik-status [0-9.]+ .commit [0-9a-z]+, built with [A-Z]"));
  EXPECT_THAT(outcome.text, HasSubstr("SQLite 3."));
  EXPECT_THAT(outcome.text, HasSubstr("JSON schema    1\n"));
}

}  // namespace
