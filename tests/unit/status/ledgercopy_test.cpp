// The ledger after a service that died in the middle of a write.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "ledgerreading.h"

using status::LedgerState;
using test::kRuns;
using test::LedgerReading;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

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

}  // namespace
