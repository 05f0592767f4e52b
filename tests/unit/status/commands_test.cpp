// The commands in this process, with their standard output.
#include "main/commands.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "collect/ledgerbackup.h"
#include "historydata/historydata.h"
#include "historydata/ledgerfile.h"
#include "main/redact.h"
#include "main/staging.h"
#include "support/configs.h"
#include "support/databasefile.h"
#include "support/gateway.h"
#include "util/text.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr char kReport[] = "/tessel/report.tar.gz";
constexpr char kName[] = "realdata/7/S20240307040000.tar.gz";
constexpr char kTextLog[] = "/tmp/CloudLog/0307_log.txt";

struct Outcome {
  int status;
  std::string text;
};

class CommandsTest : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    test::SysXml()
        .Cloud("checked", "1")
        .Cloud("RealDataInv", "300")
        .Https("certfile", "/etc/geheim.pem")
        .Https("user", "anna")
        .Https("password", "secret'word")
        .Write();
    test::WriteSnXml("Ostra-7K-M", "TS20240117");
    test::ChannelTemplate().Channel(1).Device(3, test::DeviceFile("pump").Path()).Write();
    test::DeviceFile("pump").Node("AI", 1, "Level", "m").Write();
    test::Empty("/tmp/CloudLog");
  }

  static Outcome Run(int (*command)(const status::Options&), const std::string& argument = "",
                     long timeout = 1) {
    status::Options options;
    options.argument = argument;
    options.timeout = timeout;
    testing::internal::CaptureStdout();
    const int status = command(options);
    return {status, testing::internal::GetCapturedStdout()};
  }

  // A ledger with rows; the kind follows from the name.
  static void WriteLedger(const std::vector<std::pair<std::string, int>>& rows) {
    if (!test::Exists(paths::kLedger)) test::WriteFile(paths::kLedger, "");
    test::DatabaseFile ledger(paths::kLedger);
    if (ledger.Lines("select name from sqlite_master").empty())
      ledger.Run(CreatePendingStatement());
    for (const auto& [name, result] : rows) {
      const int type = name.starts_with("real") ? kRealDataFile : kAlarmDataFile;
      ledger.Run(util::Format("insert or replace into %s values('%s',%d,%d)", kPendingTable,
                              name.c_str(), type, result));
    }
  }
  // Appends a record of the tests' day: "04:00:02 INFO message".
  static void Log(const std::string& record) {
    test::WriteFile(kTextLog, test::ReadFile(kTextLog) + "2024-03-07 " + record.substr(0, 8) +
                                  " logType:" + record.substr(9, record.find(' ', 9) - 9) + "\n" +
                                  record.substr(record.find(' ', 9)) + "\n");
  }
  static void Shell(const std::string& command) {
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }
  static void WriteArchive() {
    test::WriteFile("/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307040000.dat",
                    R"({"sn":"TS20240117","x":1.500})");
    Shell(
        "cd /media/mmcblk0p1/Cloud/JsonFiles/realdata/7 && tar -czf S20240307040000.tar.gz "
        "S20240307040000.dat && rm S20240307040000.dat && "
        "TZ=CST-8 touch -d '2024-03-07 04:00:01' S20240307040000.tar.gz");
  }
};

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

TEST(Redaction, LeavesOutSecretsHoweverTheyAreWritten) {
  struct Row {
    const char* xml;
    const char* expected;
  };
  const std::vector<Row> rows = {
      {R"(<a port="80"><https user="u" checked='1'/></a>)",
       R"x(<a port="80"><https user="(left out)" checked='1'/></a>)x"},
      {"<https\n password = 'a\"b>c'\tcertfile=\"x/>y\" />",
       "<https\n password = '(left out)'\tcertfile=\"(left out)\" />"},
      {"<a Password=\"&quot;p&quot;\"><!-- password=\"old\" --></a>",
       "<a Password=\"(left out)\"><!-- (left out) --></a>"},
      {"<?xml version=\"1.0\"?>\n<a><?p pw?><![CDATA[password='x']]>secret</a>",
       "<?xml version=\"1.0\"?>\n<a><!-- (left out) -->(left out)(left out)</a>"},
      {"<a user=\"\"></a >", "<a user=\"(left out)\"></a >"},
  };
  for (const Row& row : rows) {
    std::string reason;
    EXPECT_EQ(status::WithoutSecrets(row.xml, reason), row.expected) << reason;
  }
}

TEST(Redaction, RefusesWhatItCannotReadForCertain) {
  for (const char* xml : {"", "<a password=\"x\">", "<a password='x\"/>", "<a password=x/>",
                          "<!DOCTYPE a><a/>", "<a/><b/>", "text"}) {
    std::string reason;
    EXPECT_FALSE(status::WithoutSecrets(xml, reason)) << xml;
    EXPECT_NE(reason, "") << xml;
  }
}

class ReportTest : public CommandsTest {
 protected:
  void SetUp() override {
    CommandsTest::SetUp();
    mkdir("/tmp/staging", 0755);
    setenv("TMPDIR", "/tmp/staging", 1);
  }
  void TearDown() override {
    EXPECT_EQ(test::List("/tmp/staging"), std::vector<std::string>());
    EXPECT_THAT(test::List("/tessel"), Not(::testing::Contains(HasSubstr("report.tar.gz."))));
    unsetenv("TMPDIR");
    CommandsTest::TearDown();
  }
  static std::string Inside(const std::string& command) {
    test::Empty("/tmp/unpacked");
    Shell("mkdir -p /tmp/unpacked && tar -xzf " + std::string(kReport) +
          " -C /tmp/unpacked && cd " + "/tmp/unpacked && { " + command + "; } >/tmp/inside");
    return test::ReadFile("/tmp/inside");
  }
};

TEST_F(ReportTest, HoldsEverythingAndNoSecret) {
  WriteLedger({{kName, 1}});
  Log("03:00:02 INFO real IP has become 127.0.0.1");
  const Outcome outcome = Run(status::MakeReport, kReport);
  EXPECT_EQ(outcome.status, 0) << outcome.text;
  const std::string names = Inside("find . -type f | sort");
  for (const char* name :
       {"verdict.txt", "verdict.json", "config.txt", "gaps.txt", "version.txt", "log.txt",
        "machine/mounts", "machine/space.txt", "config/tessel/Config/sys.xml", "CloudDB.db"}) {
    EXPECT_THAT(names, HasSubstr(std::string("./brennik-report/") + name + "\n"));
    EXPECT_THAT(outcome.text, HasSubstr(std::string("  ") + name));
  }
  EXPECT_THAT(names, HasSubstr("./CloudLog/0307_log.txt\n"));
  EXPECT_EQ(Inside("grep -rlE 'geheim|anna|secret.word' . || true"), "");
  EXPECT_THAT(Inside("cat brennik-report/config/tessel/Config/sys.xml"),
              HasSubstr("password=\"(left out)\""));
  EXPECT_EQ(Inside("sqlite3 brennik-report/CloudDB.db 'select * from tJsonFileNames'"),
            std::string(kName) + "|2|1\n");
  struct stat about {};
  ASSERT_EQ(stat(kReport, &about), 0);
  EXPECT_EQ(about.st_mode & 07777U, 0600U);
}

// A running service may write in between; the copy then begins again.
TEST_F(ReportTest, CopiesTheLedgerOfARunningService) {
  std::vector<std::pair<std::string, int>> rows;
  for (int i = 0; i < 3000; ++i) {
    rows.emplace_back(util::Format("realdata/7/S202403%08d.tar.gz", i), 1);
  }
  WriteLedger({{kName, 1}});
  test::DatabaseFile ledger(paths::kLedger);
  ledger.Run("begin");
  for (const auto& [name, result] : rows) {
    ledger.Run("insert into tJsonFileNames values('" + name + "',2,1)");
  }
  ledger.Run("commit");
  std::thread writer([&ledger] {
    for (int i = 0; i < 3; ++i) ledger.Run("update tJsonFileNames set Result=0");
  });
  EXPECT_EQ(status::BackUpLedger(status::Place(), true, "/tmp/copy.db"), "");
  writer.join();
  EXPECT_EQ(test::DatabaseFile("/tmp/copy.db").Lines("pragma integrity_check")[0], "ok");
  EXPECT_EQ(test::DatabaseFile("/tmp/copy.db").Lines("select count(*) from tJsonFileNames")[0],
            "3001");
  test::WriteFile(paths::kLedger, "no database at all, but long enough to be one");
  EXPECT_EQ(status::BackUpLedger(status::Place(), true, "/tmp/copy2.db"), "file is not a database");
  for (const char* copy : {"/tmp/copy.db", "/tmp/copy2.db"}) std::remove(copy);
}

TEST_F(ReportTest, LeavesOutAConfigurationThatIsNotWellFormed) {
  test::WriteFile(paths::kSystemFile,
                  "<sysConfig><https password='geheim' user=anna/></sysConfig>");
  const Outcome outcome = Run(status::MakeReport, kReport);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.text, HasSubstr("left out: it could hold a password that is not found"));
  EXPECT_EQ(Inside("grep -rlE 'geheim' . || true"), "");
}

TEST_F(ReportTest, LeavesOutLogsThatThisUserCannotRead) {
  Log("03:00:02 INFO real IP has become 127.0.0.1");
  ASSERT_EQ(chmod(kTextLog, 0400), 0);
  test::WriteFile("/tmp/CloudLog/Cloudlog.db", "x");
  ASSERT_EQ(chmod("/tessel", 0777), 0);
  ASSERT_EQ(chmod("/tmp/staging", 0777), 0);
  ASSERT_EQ(seteuid(65534), 0);
  const Outcome outcome = Run(status::MakeReport, kReport);
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(outcome.status, 0) << outcome.text;
  EXPECT_THAT(outcome.text, HasSubstr("CloudLog/0307_log.txt"));
  EXPECT_THAT(outcome.text, HasSubstr("left out: it needs root's rights"));
  EXPECT_THAT(Inside("ls CloudLog"), HasSubstr("Cloudlog.db"));
}

TEST_F(ReportTest, ReplacesOnlyPlainFiles) {
  test::WriteFile(kReport, "old");
  EXPECT_EQ(Run(status::MakeReport, kReport).status, 0);
  EXPECT_GT(test::ReadFile(kReport).size(), 100U);
  Shell("ln -s report.tar.gz /tessel/link; mkfifo /tessel/pipe");
  for (const char* name : {"/tessel", "/tessel/link", "/tessel/pipe", "/none/report.tar.gz"}) {
    const Outcome outcome = Run(status::MakeReport, name);
    EXPECT_EQ(outcome.status, 1) << name;
    EXPECT_THAT(outcome.text, HasSubstr(std::string(name) + " cannot be made: "));
  }
}

TEST_F(ReportTest, LeavesNothingWhenItFails) {
  setenv("PATH", "/none", 1);
  EXPECT_EQ(Run(status::MakeReport, kReport).status, 1);
  setenv("PATH", "/usr/bin:/bin", 1);
  EXPECT_FALSE(test::Exists(kReport));
  setenv("TMPDIR", "/none", 1);
  EXPECT_THAT(Run(status::MakeReport, kReport).text, HasSubstr("TMPDIR"));
  EXPECT_FALSE(test::Exists(kReport));
}

TEST_F(ReportTest, LeavesNothingWhenItIsInterrupted) {
  // A tar that waits until it is interrupted, and interrupts its starter.
  test::WriteFile("/tmp/slow/tar", "#!/bin/sh\nkill -INT $PPID\nexec sleep 30\n");
  Shell("chmod 755 /tmp/slow/tar");
  setenv("PATH", "/tmp/slow:/usr/bin:/bin", 1);
  const Outcome outcome = Run(status::MakeReport, kReport);
  setenv("PATH", "/usr/bin:/bin", 1);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.text, HasSubstr("it was interrupted"));
  EXPECT_FALSE(test::Exists(kReport));
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
