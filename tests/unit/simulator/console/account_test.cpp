#include "console/watch/account.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "collect/ledger.h"

namespace console {
namespace {

constexpr char kSnapshot[] = "S20240307120000.tar.gz";
constexpr char kAlarms[] = "T20240307120010.tar.gz";
constexpr char kRecall[] = "R20240307120020.tar.gz";
constexpr long kDaySeconds = 86400;

class AccountTest : public ::testing::Test {
 protected:
  AccountTest() {
    setenv("TZ", "CST-8", 1);
    tzset();
    m_now = status::StampOf(kSnapshot).value_or(0) + 30;
  }

  static FileKey Key(const char* name) { return KeyOf(name).value_or(FileKey{}); }
  static SeenRow Row(const char* name, bool accepted = false) {
    return {Key(name), status::StampOf(name).value_or(0), accepted};
  }
  void Ledger(const std::vector<SeenRow>& rows) { m_account.TakeLedger(rows, true, m_now); }
  void Archive(const char* name) {
    const FileKey key = Key(name);
    m_account.TakeFolder({key.kind, key.kind == Kind::kCallData ? 0 : key.Day(), {key}}, m_now);
  }
  void NoArchive(const char* name) {
    const FileKey key = Key(name);
    m_account.TakeFolder({key.kind, key.kind == Kind::kCallData ? 0 : key.Day(), {}}, m_now);
  }
  void Arrive(const char* name, bool accepted) {
    m_account.TakeArrival({++m_arrivals, NameOf(Key(name).kind), name, accepted, m_now, 1});
  }
  // Looks often enough for doubts to be settled.
  FileState Settled(const char* name) {
    for (int look = 0; look < 10; ++look) m_account.Judge(m_now, m_isLedgerRead);
    const SeenFile* const file = m_account.Find(Key(name));
    EXPECT_NE(file, nullptr);
    return file == nullptr ? FileState::kLost : file->state;
  }

  Account m_account;
  std::time_t m_now = 0;
  bool m_isLedgerRead = true;
  long m_arrivals = 0;
};

TEST_F(AccountTest, CountsAnAcceptedArrivalWhateverTheLedgerSays) {
  Ledger({Row(kSnapshot)});
  Arrive(kSnapshot, true);

  EXPECT_EQ(Settled(kSnapshot), FileState::kAccepted);
}

TEST_F(AccountTest, CountsARowThatWaitsAsPending) {
  Ledger({Row(kAlarms)});
  Arrive(kAlarms, false);

  EXPECT_EQ(Settled(kAlarms), FileState::kPending);
}

TEST_F(AccountTest, CountsAnArchiveThatIsNotRecordedYetAsPending) {
  Archive(kSnapshot);
  m_now += 60;
  Ledger({Row(kAlarms)});

  EXPECT_EQ(Settled(kSnapshot), FileState::kPending);
}

TEST_F(AccountTest, CallsAnArchiveLostWhenALaterFileIsRecordedAndItIsNot) {
  Archive(kSnapshot);
  m_now += 300;
  Ledger({Row(kAlarms)});

  EXPECT_EQ(Settled(kSnapshot), FileState::kLost);
  EXPECT_EQ(m_account.Total().lostRecorded, 0);
}

TEST_F(AccountTest, CallsAFileJudgedSentThatTheCloudNeverAccepted) {
  Ledger({Row(kSnapshot, true)});

  EXPECT_EQ(Settled(kSnapshot), FileState::kJudgedSent);
}

TEST_F(AccountTest, CallsAFileLostWhoseRowWentBeforeItsAge) {
  Ledger({Row(kSnapshot)});
  Ledger({});

  EXPECT_EQ(Settled(kSnapshot), FileState::kLost);
  EXPECT_EQ(m_account.Total().lostRecorded, 1);
}

TEST_F(AccountTest, CallsAFileAgedWhoseRowAndArchiveWentAfter31Days) {
  Ledger({Row(kSnapshot)});
  Archive(kSnapshot);
  m_now += 31 * kDaySeconds;
  Ledger({});
  NoArchive(kSnapshot);

  EXPECT_EQ(Settled(kSnapshot), FileState::kAged);
}

TEST_F(AccountTest, KeepsAFileAgedAfterTheClockIsSetBack) {
  Ledger({Row(kSnapshot)});
  m_now += 32 * kDaySeconds;
  Ledger({});
  Settled(kSnapshot);
  m_now -= 32 * kDaySeconds;

  EXPECT_EQ(Settled(kSnapshot), FileState::kAged);
}

TEST_F(AccountTest, WaitsForSeveralLooksBeforeItCallsAFileLost) {
  Ledger({Row(kSnapshot, true)});

  m_account.Judge(m_now, true);

  EXPECT_EQ(m_account.Total().judgedSent, 0);
  EXPECT_EQ(m_account.Total().pending, 1);
}

TEST_F(AccountTest, CallsNothingLostWhileTheLedgerCannotBeRead) {
  m_isLedgerRead = false;
  Arrive(kRecall, false);
  EXPECT_EQ(Settled(kRecall), FileState::kPending);

  m_isLedgerRead = true;
  EXPECT_EQ(Settled(kRecall), FileState::kLost);
}

TEST_F(AccountTest, CountsARecallAsPendingUntilTheCloudAcceptsIt) {
  Ledger({Row(kRecall)});
  Archive(kRecall);
  EXPECT_EQ(Settled(kRecall), FileState::kPending);

  Arrive(kRecall, true);

  EXPECT_EQ(Settled(kRecall), FileState::kAccepted);
}

TEST_F(AccountTest, CallsARecallAgedWhoseRowWentAfterThreeDays) {
  Ledger({Row(kRecall)});
  Archive(kRecall);
  m_now += 3 * kDaySeconds;
  Ledger({});

  EXPECT_EQ(Settled(kRecall), FileState::kAged);
}

TEST_F(AccountTest, CallsARecallJudgedSentWhenTheLogSaysSo) {
  Archive(kRecall);
  m_account.TakeJudgedSent(Key(kRecall));

  EXPECT_EQ(Settled(kRecall), FileState::kJudgedSent);
}

TEST_F(AccountTest, SumsUpByKind) {
  Ledger({Row(kSnapshot, true), Row(kAlarms), Row(kRecall)});
  Arrive(kSnapshot, true);
  Arrive(kSnapshot, true);
  Settled(kSnapshot);

  const Counts& total = m_account.Total();
  EXPECT_EQ(total.produced, 3);
  EXPECT_EQ(total.accepted, 1);
  EXPECT_EQ(total.pending, 2);
  EXPECT_EQ(total.deliveredTwice, 1);
  EXPECT_EQ(m_account.Of(Kind::kRealData).accepted, 1);
  EXPECT_EQ(m_account.Of(Kind::kAlarmData).pending, 1);
  EXPECT_EQ(m_account.Of(Kind::kCallData).pending, 1);
}

TEST_F(AccountTest, ForgetsAnOldFileThatIsGoneAndStillCountsIt) {
  Ledger({Row(kSnapshot, true), Row(kAlarms)});
  Archive(kAlarms);
  Arrive(kSnapshot, true);
  Arrive(kSnapshot, true);
  Settled(kSnapshot);
  Ledger({Row(kAlarms)});
  m_now += 33 * kDaySeconds;

  for (int look = 0; look < 3; ++look) m_account.Judge(m_now, m_isLedgerRead);

  EXPECT_EQ(m_account.Find(Key(kSnapshot)), nullptr);
  EXPECT_NE(m_account.Find(Key(kAlarms)), nullptr);  // it still waits
  EXPECT_EQ(m_account.Total().produced, 2);
  EXPECT_EQ(m_account.Total().accepted, 1);
  EXPECT_EQ(m_account.Total().deliveredTwice, 1);
  EXPECT_EQ(m_account.Of(Kind::kRealData).accepted, 1);
  EXPECT_EQ(m_account.Of(Kind::kAlarmData).pending, 1);
}

TEST_F(AccountTest, KeepsABoundedNumberOfFiles) {
  std::vector<SeenRow> rows;
  for (std::uint64_t i = 0; i < kMostFiles + 10; ++i) {
    rows.push_back({{Kind::kRealData, 20240307000000 + i}, 1, true});
  }

  Ledger(rows);

  EXPECT_EQ(m_account.All().size(), kMostFiles);
  EXPECT_TRUE(m_account.IsCut());
}

TEST(FileKey, ReadsOnlyNamesOfDataFiles) {
  EXPECT_EQ(BaseNameOf(KeyOf("realdata/7/S20240307120000.tar.gz").value_or(FileKey{})), kSnapshot);
  for (const char* name : {"S20240307120000.dat", "X20240307120000.tar.gz", "S2024030712000.tar.gz",
                           "S2024030712000x.tar.gz", ""}) {
    EXPECT_FALSE(KeyOf(name)) << name;
  }
}

}  // namespace
}  // namespace console
