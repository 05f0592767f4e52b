// The report: what it holds, and what it leaves out.
#include <sys/stat.h>
#include <unistd.h>

#include "collect/ledgerbackup.h"
#include "main/redact.h"
#include "main/staging.h"
#include "unit/status/commandsrunning.h"

using test::CommandsTest;
using test::kName;
using test::kTextLog;
using test::Outcome;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

constexpr char kReport[] = "/tessel/report.tar.gz";

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

}  // namespace
