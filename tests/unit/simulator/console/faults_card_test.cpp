#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/statvfs.h>

#include <fstream>

#include "console/faults/cardactions.h"
#include "support/files.h"

namespace {

class CardActions : public ::testing::Test {
 protected:
  CardActions() {
    test::WriteFile("/media/mmcblk0p1/Cloud/a.txt", "a");
    test::WriteFile("/media/mmcblk0p1/b.db", "b");
    sqlite3* database = nullptr;
    sqlite3_open("/media/mmcblk0p1/ledger.db", &database);
    sqlite3_exec(database, "create table t(a)", nullptr, nullptr, nullptr);
    sqlite3_close(database);
  }
  ~CardActions() override {
    m_card.Unlock();
    test::Empty("/media/mmcblk0p1");
    test::WriteFile("/dev/mmcblk0p1", "");
  }

  // What a reader of the ledger gets.
  static int Read() {
    sqlite3* database = nullptr;
    sqlite3_open("/media/mmcblk0p1/ledger.db", &database);
    const int result = sqlite3_exec(database, "select * from t", nullptr, nullptr, nullptr);
    sqlite3_close(database);
    return result;
  }
  static unsigned long FreeBytes() {
    struct statvfs room {};
    statvfs("/media/mmcblk0p1", &room);
    return room.f_bavail * room.f_frsize;
  }

  console::CardActions m_card{{.mount = "/media/mmcblk0p1/",
                               .device = "/dev/mmcblk0p1",
                               .ledger = "/media/mmcblk0p1/ledger.db",
                               .patience = std::chrono::milliseconds(200)}};
};

TEST_F(CardActions, LockTheLedgerForEveryReader) {
  m_card.Lock();
  m_card.Lock();
  EXPECT_EQ(Read(), SQLITE_BUSY);

  m_card.Unlock();
  EXPECT_EQ(Read(), SQLITE_OK);
}

TEST_F(CardActions, FailWhenTheLedgerIsLockedByAnotherProgram) {
  console::CardActions other({.mount = "/media/mmcblk0p1/",
                              .device = "/dev/mmcblk0p1",
                              .ledger = "/media/mmcblk0p1/ledger.db"});
  other.Lock();

  EXPECT_THROW(m_card.Lock(), std::runtime_error);
}

TEST_F(CardActions, FillTheCardToTheLastByte) {
  const unsigned long before = FreeBytes();
  m_card.Fill();
  EXPECT_EQ(FreeBytes(), 0u);
  test::Empty("/media/mmcblk0p1/Cloud");
  m_card.Fill();
  EXPECT_EQ(FreeBytes(), 0u);

  m_card.Empty();
  EXPECT_GE(FreeBytes(), before);
  m_card.Empty();
}

TEST_F(CardActions, TakeTheCardAwayAndBringItBack) {
  m_card.Pull();
  EXPECT_FALSE(test::Exists("/dev/mmcblk0p1"));
  EXPECT_FALSE(test::Exists("/media/mmcblk0p1/Cloud"));
  EXPECT_FALSE(test::Exists("/media/mmcblk0p1/b.db"));
  test::WriteFile("/media/mmcblk0p1/Cloud/meanwhile.txt", "m");

  m_card.Put();
  EXPECT_TRUE(test::Exists("/dev/mmcblk0p1"));
  EXPECT_EQ(test::ReadFile("/media/mmcblk0p1/Cloud/a.txt"), "a");
  EXPECT_EQ(test::ReadFile("/media/mmcblk0p1/b.db"), "b");
  EXPECT_FALSE(test::Exists("/media/mmcblk0p1/Cloud/meanwhile.txt"));
}

TEST_F(CardActions, PutTheCardRightAtTheirEnd) {
  const unsigned long before = FreeBytes();
  {
    console::CardActions card({.mount = "/media/mmcblk0p1/",
                               .device = "/dev/mmcblk0p1",
                               .ledger = "/media/mmcblk0p1/ledger.db"});
    card.Pull();
    card.Fill();
  }

  EXPECT_EQ(test::ReadFile("/media/mmcblk0p1/Cloud/a.txt"), "a");
  EXPECT_GE(FreeBytes(), before);
}

TEST_F(CardActions, MayBeAskedTwice) {
  m_card.Put();
  m_card.Pull();
  test::WriteFile("/media/mmcblk0p1/Cloud/meanwhile.txt", "m");
  m_card.Put();
  m_card.Put();

  EXPECT_EQ(test::ReadFile("/media/mmcblk0p1/Cloud/a.txt"), "a");
}

}  // namespace
