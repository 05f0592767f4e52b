// Ledgers that are none, are damaged, lie, or may not be read.
#include <gmock/gmock.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "ledgerreading.h"

using status::LedgerState;
using test::LedgerReading;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

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
        Bad{"VirtualTable",
            [] { Run("create virtual table tJsonFileNames using fts4(filename,filetype,result)"); },
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

}  // namespace
