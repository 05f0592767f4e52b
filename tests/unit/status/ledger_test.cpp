// The ledger, read beside a service that writes it, and after one that died in the middle.
#include "collect/ledger.h"

#include <gmock/gmock.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <optional>
#include <string>
#include <vector>

#include "historydata/ledgerfile.h"
#include "support/databasefile.h"
#include "support/gateway.h"
#include "util/text.h"

using status::FileCounts;
using status::LedgerState;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Optional;

namespace {

constexpr bool kRuns = true;  // the service

std::string RealName(const std::string& stamp) {
  return "realdata/7/S" + stamp + ".tar.gz";
}

auto IsNamed(const std::string& name) {
  return Optional(Field(&status::LedgerRow::name, name));
}

class LedgerReading : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    test::Empty("/tmp");
  }

  // A ledger as the service makes it.
  static test::DatabaseFile MakeLedger() {
    MakeMissingLedger();
    test::DatabaseFile ledger(paths::kLedger);
    ledger.Run("PRAGMA journal_mode=PERSIST");
    ledger.Run(CreateRecallStatement());
    return ledger;
  }
  static void Insert(test::DatabaseFile& ledger, const std::string& name, int type = kRealDataFile,
                     int result = 0) {
    ledger.Run(util::Format("insert into %s(filetype,filename,result) values(%d,'%s',%d)",
                            kPendingTable, type, name.c_str(), result));
  }
  // So many accepted files; file n has the stamp "…n" of six digits of a serial number.
  static void InsertMany(test::DatabaseFile& ledger, int rows) {
    ledger.Run(
        util::Format("with recursive n(i) as (select 1 union all select i+1 from n where "
                     "i<%d) insert into %s(filetype,filename,result) select 2, "
                     "printf('realdata/7/N%%06d.tar.gz',i), 1 from n",
                     rows, kPendingTable));
  }
  static status::Ledger Read(bool serviceRuns = false, const status::EachRow& each = {}) {
    return status::ReadLedger(status::Place(), serviceRuns, each);
  }
  static std::vector<std::string> Folder() { return test::List(paths::kLedgerDirectory); }
};

TEST_F(LedgerReading, CountsTheFilesOfEachKind) {
  auto ledger = MakeLedger();
  Insert(ledger, RealName("20240307110000"), kRealDataFile, 1);
  Insert(ledger, RealName("20240307113000"));
  Insert(ledger, "alarmdata/7/A20240307115900.tar.gz", kAlarmDataFile);
  Insert(ledger, "notes.txt", 9, 1);
  ledger.Run(InsertRecall(test::LocalTimeOf(2024, 3, 7), "calldata/C1.tar.gz"));

  const auto read = Read();

  EXPECT_EQ(read.state, LedgerState::kGood);
  EXPECT_EQ(read.all.accepted, 2U);
  EXPECT_EQ(read.all.pending, 2U);
  EXPECT_EQ(read.realData.accepted, 1U);
  EXPECT_EQ(read.realData.pending, 1U);
  EXPECT_EQ(read.alarmData.accepted, 0U);
  EXPECT_EQ(read.alarmData.pending, 1U);
  EXPECT_EQ(read.recalls, 1U);
  EXPECT_THAT(read.copied, IsEmpty());
}

TEST_F(LedgerReading, FindsTheNewestAndTheOldestByTheirStamps) {
  auto ledger = MakeLedger();
  Insert(ledger, RealName("20240307100000"), kRealDataFile, 1);
  Insert(ledger, RealName("20240307120000"));
  Insert(ledger, RealName("20240307110000"), kRealDataFile, 1);
  Insert(ledger, RealName("20240307080000"));
  Insert(ledger, "realdata/7/odd.tar.gz");

  const FileCounts counts = Read().realData;

  EXPECT_THAT(counts.newest, IsNamed(RealName("20240307120000")));
  EXPECT_THAT(counts.newestAccepted, IsNamed(RealName("20240307110000")));
  EXPECT_THAT(counts.newestPending, IsNamed(RealName("20240307120000")));
  EXPECT_THAT(counts.oldestPending, IsNamed(RealName("20240307080000")));
  EXPECT_EQ(counts.newest->stamp, test::LocalTimeOf(2024, 3, 7, 12));
}

TEST_F(LedgerReading, GivesEveryRowOnceOverSeveralPages) {
  auto ledger = MakeLedger();
  InsertMany(ledger, 2500);
  std::vector<std::string> names;

  const auto read = Read(kRuns, [&](const auto& row) { names.push_back(row.name); });

  EXPECT_EQ(read.all.accepted, 2500U);
  ASSERT_EQ(names.size(), 2500U);
  EXPECT_EQ(names.front(), "realdata/7/N000001.tar.gz");
  EXPECT_EQ(names.back(), "realdata/7/N002500.tar.gz");
}

TEST_F(LedgerReading, LetsTheServiceWriteBetweenPages) {
  auto ledger = MakeLedger();
  InsertMany(ledger, 1500);
  std::size_t given = 0;

  // Any lock of the reader would make this commit fail at once.
  util::Database service(paths::kLedger, util::Database::Missing::kFails);
  const auto read = Read(kRuns, [&](const auto&) {
    if (++given != 1000) return;
    EXPECT_TRUE(service.Execute("delete from tJsonFileNames where rowid in (1, 2, 1200)"));
    EXPECT_TRUE(service.Execute("insert into tJsonFileNames(filename) values('new')"));
  });

  EXPECT_EQ(read.state, LedgerState::kGood);
  EXPECT_EQ(given, 1500U);
  EXPECT_EQ(read.all.pending, 1U);
}

TEST_F(LedgerReading, CutsLongNames) {
  auto ledger = MakeLedger();
  Insert(ledger, std::string(500, 'n'));
  std::string name;

  Read(kRuns, [&](const auto& row) { name = row.name; });

  EXPECT_EQ(name, std::string(127, 'n'));
}

TEST_F(LedgerReading, TakesALedgerWithoutRecalls) {
  auto ledger = MakeLedger();
  ledger.Run(util::Format("drop table %s", kRecallTable));

  const auto read = Read();

  EXPECT_EQ(read.state, LedgerState::kGood);
  EXPECT_EQ(read.recalls, 0U);
}

TEST_F(LedgerReading, LeavesNoTrace) {
  {
    auto ledger = MakeLedger();
    Insert(ledger, RealName("20240307110000"));
  }
  const auto before = Folder();
  const auto content = test::ReadFile(paths::kLedger);
  chmod(paths::kLedgerDirectory, 0500);

  EXPECT_EQ(Read().all.pending, 1U);

  EXPECT_EQ(Folder(), before);
  EXPECT_THAT(before, ElementsAre("CloudDB.db", "CloudDB.db-journal"));  // kept, and not hot
  EXPECT_EQ(test::ReadFile(paths::kLedger), content);
  EXPECT_THAT(test::List("/tmp"), IsEmpty());
}

TEST_F(LedgerReading, MakesNoMissingLedger) {
  test::WriteFile(std::string(paths::kLedgerDirectory) + "/other", "");

  EXPECT_EQ(Read().state, LedgerState::kMissing);
  EXPECT_THAT(Folder(), ElementsAre("other"));
}

TEST_F(LedgerReading, MakesNoFilesForAWriteAheadLog) {
  {
    auto ledger = MakeLedger();
    ledger.Run("PRAGMA journal_mode=WAL");
  }
  const auto before = Folder();

  EXPECT_EQ(Read().state, LedgerState::kUnreadable);
  EXPECT_EQ(Folder(), before);
}

TEST_F(LedgerReading, LeavesTheJournalOfAnEmptiedLedger) {
  const std::string journal = "not a journal of this file";
  test::WriteFile(paths::kLedger, "");
  test::WriteFile(paths::kLedgerJournal, journal);

  EXPECT_EQ(Read().state, LedgerState::kNoTable);
  EXPECT_EQ(test::ReadFile(paths::kLedgerJournal), journal);
}

// What another connection of the service holds, and what a reader then sees.
struct Lock {
  const char* name;
  const char* statements;
  LedgerState state;
};

class LedgerLocks : public LedgerReading, public ::testing::WithParamInterface<Lock> {};

TEST_P(LedgerLocks, AreNotWaitedFor) {
  auto ledger = MakeLedger();
  Insert(ledger, RealName("20240307110000"));
  ledger.Run(GetParam().statements);

  const auto read = Read(kRuns);

  EXPECT_EQ(read.state, GetParam().state);
  EXPECT_EQ(read.all.pending, GetParam().state == LedgerState::kGood ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(
    , LedgerLocks,
    ::testing::Values(
        Lock{"Shared", "BEGIN; select count(*) from tJsonFileNames", LedgerState::kGood},
        Lock{"Reserved", "BEGIN IMMEDIATE; delete from tJsonFileNames", LedgerState::kGood},
        Lock{"Exclusive", "BEGIN EXCLUSIVE", LedgerState::kBusy}),
    [](const auto& parameter) { return parameter.param.name; });

// A write of 600 rows that ends with its process, when a part of it is in the file already.
void DieInAWrite() {
  const pid_t writer = fork();
  ASSERT_NE(writer, -1);
  if (writer == 0) {
    util::Database ledger(paths::kLedger);
    ledger.Execute("PRAGMA journal_mode=PERSIST; PRAGMA cache_size=2");
    ledger.Execute("BEGIN; update tJsonFileNames set result=0");
    raise(SIGKILL);
  }
  int status = 0;
  waitpid(writer, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
}

class UnfinishedWrite : public LedgerReading {
 protected:
  void SetUp() override {
    LedgerReading::SetUp();
    {
      auto ledger = MakeLedger();
      InsertMany(ledger, 600);
    }
    DieInAWrite();
    m_folder = Folder();
    m_ledger = test::ReadFile(paths::kLedger);
    m_journal = test::ReadFile(paths::kLedgerJournal);
  }
  void TearDown() override {
    EXPECT_EQ(Folder(), m_folder);
    EXPECT_TRUE(test::ReadFile(paths::kLedger) == m_ledger);
    EXPECT_TRUE(test::ReadFile(paths::kLedgerJournal) == m_journal);
    EXPECT_THAT(test::List("/tmp"), IsEmpty());
    LedgerReading::TearDown();
  }

 private:
  std::vector<std::string> m_folder;
  std::string m_ledger;
  std::string m_journal;
};

TEST_F(UnfinishedWrite, WaitsForTheService) {
  const auto read = Read(kRuns);

  EXPECT_EQ(read.state, LedgerState::kUnfinished);
  EXPECT_EQ(read.all.pending + read.all.accepted, 0U);
}

TEST_F(UnfinishedWrite, IsUndoneInACopyWithoutTheService) {
  const auto read = Read();

  EXPECT_EQ(read.state, LedgerState::kGood);
  EXPECT_THAT(read.copied, HasSubstr("read from a copy"));
  EXPECT_EQ(read.all.accepted, 600U);
  EXPECT_EQ(read.all.pending, 0U);
}

TEST_F(UnfinishedWrite, IsCopiedWhereTheUserWants) {
  test::WriteFile("/tessel/tmp/file", "");
  setenv("TMPDIR", "/tessel/tmp/file", 1);
  const auto refused = Read();
  setenv("TMPDIR", "/tessel/tmp", 1);
  const auto read = Read();
  unsetenv("TMPDIR");

  EXPECT_EQ(refused.state, LedgerState::kUnreadable);
  EXPECT_THAT(refused.detail, HasSubstr("/tessel/tmp/file"));
  EXPECT_EQ(read.all.accepted, 600U);
  EXPECT_THAT(test::List("/tessel/tmp"), ElementsAre("file"));
}

std::string BigEndian(std::size_t number) {
  const auto byte = [number](int shift) { return static_cast<char>(number >> shift); };
  return {byte(24), byte(16), byte(8), byte(0)};
}

// What ends the journal of a write of several databases: it names a file that SQLite may remove.
std::string SharedEnd(const std::string& file) {
  std::size_t sum = 0;
  for (const char c : file) sum += static_cast<unsigned char>(c);
  return BigEndian(0x40000001) + file + BigEndian(file.size()) + BigEndian(sum) +
         "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
}

TEST_F(LedgerReading, RemovesNoFileThatAJournalNames) {
  const std::string victim = "/tessel/victim";
  test::WriteFile(victim, "kept");
  {
    auto ledger = MakeLedger();
    InsertMany(ledger, 600);
  }
  DieInAWrite();
  test::WriteFile(paths::kLedgerJournal, test::ReadFile(paths::kLedgerJournal) + SharedEnd(victim));

  EXPECT_EQ(Read().state, LedgerState::kForeign);
  EXPECT_EQ(test::ReadFile(victim), "kept");
}

// Bad ledgers.
struct Bad {
  const char* name;
  void (*make)();
  LedgerState state;
  const char* detail;
};

void Run(const std::string& sql) {
  test::WriteFile(paths::kLedger, "");
  test::DatabaseFile(paths::kLedger).Run(sql);
}

void MakeSome(const std::string& rows) {
  Run(CreatePendingStatement() + ";" + rows);
}

void MakeLong() {
  MakeSome(
      "with recursive n(i) as (select 1 union all select i+1 from n where i<2000) insert into "
      "tJsonFileNames(filename) select i from n");
}

void MakeTruncated() {
  MakeLong();
  ASSERT_EQ(truncate(paths::kLedger, 8192), 0);
}

// The first three pages hold the schema and the roots of the table and its index.
void MakeDamaged() {
  MakeLong();
  std::string content = test::ReadFile(paths::kLedger);
  std::fill(content.begin() + 3 * 4096, content.end(), 'x');
  test::WriteFile(paths::kLedger, content);
}

constexpr char kViewed[] =
    "create table t(filename,filetype,result);"
    "create view tJsonFileNames as select rowid,* from t";
constexpr char kOwnRowid[] =
    "create table tJsonFileNames(rowid,filename,filetype,result);"
    "with recursive n(i) as (select 1 union all select i+1 from n where "
    "i<3000) insert into tJsonFileNames(rowid) select 'x' from n";

class BadLedger : public LedgerReading, public ::testing::WithParamInterface<Bad> {};

TEST_P(BadLedger, GetsAState) {
  GetParam().make();

  const auto read = Read();

  EXPECT_EQ(read.state, GetParam().state) << read.detail;
  EXPECT_THAT(read.detail, HasSubstr(GetParam().detail));
}

INSTANTIATE_TEST_SUITE_P(
    , BadLedger,
    ::testing::Values(
        Bad{"Missing", [] {}, LedgerState::kMissing, ""},
        Bad{"NoFolder", [] { test::WriteFile(paths::kCloudTree, ""); }, LedgerState::kMissing, ""},
        Bad{"Empty", [] { test::WriteFile(paths::kLedger, ""); }, LedgerState::kNoTable, ""},
        Bad{"Foreign", [] { test::WriteFile(paths::kLedger, std::string(9000, 'x')); },
            LedgerState::kForeign, "file is not a database"},
        Bad{"Short", [] { test::WriteFile(paths::kLedger, "SQLite format 3"); },
            LedgerState::kForeign, "file is not a database"},
        Bad{"Truncated", MakeTruncated, LedgerState::kForeign, "malformed"},
        Bad{"Damaged", MakeDamaged, LedgerState::kDamaged, "malformed"},
        Bad{"Folder", [] { test::WriteFile(std::string(paths::kLedger) + "/file", ""); },
            LedgerState::kForeign, "is a folder"},
        Bad{"Pipe",
            [] {
              test::WriteFile(std::string(paths::kLedgerDirectory) + "/other", "");
              mkfifo(paths::kLedger, 0600);
            },
            LedgerState::kForeign, "is no file"},
        Bad{"PipeAsJournal",
            [] {
              MakeSome("");
              mkfifo(paths::kLedgerJournal, 0600);
            },
            LedgerState::kForeign, "journal is no file"},
        Bad{"NoTable", [] { Run("create table other(a)"); }, LedgerState::kNoTable, ""},
        Bad{"NoColumns", [] { Run("create table tJsonFileNames(a)"); }, LedgerState::kNoTable,
            "no such column"},
        Bad{"View", [] { Run(kViewed); }, LedgerState::kNoTable, ""},
        Bad{"VirtualTable", [] { Run("create virtual table tJsonFileNames using fts4(filename)"); },
            LedgerState::kNoTable, ""},
        Bad{"OwnRowid", [] { Run(kOwnRowid); }, LedgerState::kDamaged, ""},
        Bad{"HugeName",
            [] { MakeSome("insert into tJsonFileNames(filename) values(zeroblob(2000000))"); },
            LedgerState::kDamaged, "too big"},
        Bad{"OddTypes",
            [] {
              MakeSome("insert into tJsonFileNames values(x'00ff',x'41','b'),(NULL,NULL,NULL)");
            },
            LedgerState::kGood, ""}),
    [](const auto& parameter) { return parameter.param.name; });

// Takes the right to read everything from this thread, as an ordinary user has it.
class WithoutRights {
 public:
  WithoutRights() {
    syscall(SYS_capget, &m_header, m_sets);
    m_saved = m_sets[0].effective;
    Set(m_saved & ~(1U << CAP_DAC_OVERRIDE));
  }
  ~WithoutRights() { Set(m_saved); }
  WithoutRights(const WithoutRights&) = delete;
  WithoutRights& operator=(const WithoutRights&) = delete;

 private:
  void Set(unsigned effective) {
    m_sets[0].effective = effective;
    syscall(SYS_capset, &m_header, m_sets);
  }

  __user_cap_header_struct m_header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
  __user_cap_data_struct m_sets[2]{};
  unsigned m_saved = 0;
};

TEST_F(LedgerReading, SaysWhichRightsItNeeds) {
  for (const char* path : {paths::kLedger, paths::kLedgerJournal, paths::kLedgerDirectory}) {
    SCOPED_TRACE(path);
    {
      auto ledger = MakeLedger();
      Insert(ledger, path);
    }
    chmod(path, 0);
    status::Ledger read;
    {
      const WithoutRights user;
      read = Read();
    }
    chmod(path, 0700);

    EXPECT_EQ(read.state, LedgerState::kUnreadable);
    EXPECT_THAT(read.detail, HasSubstr("sudo brennik-status"));
  }
}

TEST_F(LedgerReading, FindsAFileByItsWholeNameOrItsBaseName) {
  auto ledger = MakeLedger();
  InsertMany(ledger, 1200);
  Insert(ledger, RealName("20240307110000"), kRealDataFile, 1);
  Insert(ledger, "S20240307110000.tar.gz", kAlarmDataFile);

  const auto find = [](const std::string& name) {
    return status::FindRow(status::Place(), kRuns, name);
  };

  EXPECT_THAT(find(RealName("20240307110000")).row, IsNamed(RealName("20240307110000")));
  EXPECT_THAT(find("S20240307110000.tar.gz").row, IsNamed("S20240307110000.tar.gz"));
  EXPECT_THAT(find("N001100.tar.gz").row, IsNamed("realdata/7/N001100.tar.gz"));
  EXPECT_EQ(find("N0011").row, std::nullopt);
  EXPECT_EQ(find("N0011").state, LedgerState::kGood);
}

struct StampCase {
  const char* name;
  const char* file;
  std::optional<std::string> local;  // as the clock of the gateway shows it
};

class Stamps : public test::GatewayTest, public ::testing::WithParamInterface<StampCase> {};

TEST_P(Stamps, AreRealLocalTimes) {
  const auto stamp = status::StampOf(GetParam().file);

  ASSERT_EQ(stamp.has_value(), GetParam().local.has_value());
  if (!stamp) return;
  char text[32];
  std::tm time{};
  std::strftime(text, sizeof(text), "%F %T", localtime_r(&*stamp, &time));
  EXPECT_EQ(text, *GetParam().local);
}

INSTANTIATE_TEST_SUITE_P(
    , Stamps,
    ::testing::Values(StampCase{"WithFolders", "realdata/7/S20240307120102.tar.gz",
                                "2024-03-07 12:01:02"},
                      StampCase{"Bare", "20240307120000.tar.gz", "2024-03-07 12:00:00"},
                      StampCase{"LeapDay", "S20240229235959.tar.gz", "2024-02-29 23:59:59"},
                      StampCase{"NoLeapDay", "S20230229000000.tar.gz", std::nullopt},
                      StampCase{"NoHour", "S20240307240000.tar.gz", std::nullopt},
                      StampCase{"NoMinute", "S20240307126000.tar.gz", std::nullopt},
                      StampCase{"NoSecond", "S20240307120060.tar.gz", std::nullopt},
                      StampCase{"NoMonth", "S20241307120000.tar.gz", std::nullopt},
                      StampCase{"NoDigits", "S2024030712000x.tar.gz", std::nullopt},
                      StampCase{"OtherEnd", "S20240307120000.tar.xz", std::nullopt},
                      StampCase{"TooShort", "0240307120000.tar.gz", std::nullopt}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
