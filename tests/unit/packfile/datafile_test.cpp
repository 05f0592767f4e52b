// A data file: its names, the attempts to compress it, and what is left on the card.
#include <gmock/gmock.h>

#include <cerrno>
#include <string>
#include <vector>

#include "packfile/archive.h"
#include "packtest.h"
#include "support/faults.h"
#include "support/files.h"

using namespace test;
using namespace testing;

namespace {

constexpr char kText[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240102030405.dat";
constexpr char kArchive[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240102030405.tar.gz";

// 2024-01-02 03:04:05
constexpr std::tm kMoment{5, 4, 3, 2, 0, 124, 0, 0, 0, 0, nullptr};

TEST(NameDataFile, FormsNamesAndCommandFromPrefixAndStamp) {
  const DataFileNames names = NameDataFile('S', "/d", kMoment);

  EXPECT_STREQ(names.name, "S20240102030405");
  EXPECT_STREQ(names.text, "/d/S20240102030405.dat");
  EXPECT_STREQ(names.archive, "/d/S20240102030405.tar.gz");
  EXPECT_STREQ(names.command,
               "cd /d && tar -zcf S20240102030405.tar.gz S20240102030405.dat > /dev/null 2>&1; "
               "echo $?");
}

TEST(NameDataFile, CutsPathsAndCommandOfALongDirectory) {
  const std::string directory = "/" + std::string(300, 'd');

  const DataFileNames names = NameDataFile('S', directory, kMoment);

  EXPECT_EQ(names.text, directory.substr(0, 126));
  EXPECT_EQ(names.archive, directory.substr(0, 126));
  EXPECT_EQ(names.command, ("cd " + directory).substr(0, 254));
}

std::vector<int>& Statuses() {
  static std::vector<int> statuses;
  return statuses;
}

auto ReportsOnly(int status) {
  return AllOf(Not(IsEmpty()), Each(status));
}

class DataFileOnTheCard : public PackTest {
 protected:
  void SetUp() override {
    PackTest::SetUp();
    Statuses().clear();
  }

  bool Pack() {
    m_file.OpenText() << "document";
    return m_file.Pack([](const char* archive, int status) {
      EXPECT_STREQ(archive, kArchive);
      Statuses().push_back(status);
    });
  }
  static std::vector<std::string> Left() { return List(kRealDataDay); }

  DataFile m_file{'S', kRealDataDay, kMoment};
};

TEST_F(DataFileOnTheCard, BecomesAnArchiveOfTheTextUnderItsBareName) {
  WriteFile(kText, "a longer text that was left behind");

  EXPECT_TRUE(Pack());

  EXPECT_EQ(Shell(std::string("tar -tzf ") + kArchive), "S20240102030405.dat\n");
  EXPECT_EQ(Unpack(kArchive), "document");
  EXPECT_THAT(ReadFile(kArchive), StartsWith("\x1f\x8b"));  // gzip
  EXPECT_THAT(Left(), ElementsAre("S20240102030405.tar.gz"));
  EXPECT_THAT(Statuses(), IsEmpty());
}

TEST_F(DataFileOnTheCard, GetsThreeAttemptsEachAfterAPauseOfOneSecond) {
  FailCalls(Call::kPopen, 3);

  EXPECT_FALSE(Pack());

  EXPECT_THAT(Statuses(), ElementsAre(0, 0, 0));
  EXPECT_THAT(Pauses(), ElementsAre(kBeforeAnAttempt, kBeforeAnAttempt, kBeforeAnAttempt));
}

TEST_F(DataFileOnTheCard, IsMadeAtTheLastAttempt) {
  ReplaceTar(R"(echo >> /tmp/replacement/calls
                      case $(wc -l < /tmp/replacement/calls) in 1) exit 0;; 2) exit 4;; esac
                      real_tar "$@")");

  EXPECT_TRUE(Pack());

  EXPECT_THAT(Statuses(), ElementsAre(4));
  EXPECT_EQ(Unpack(kArchive), "document");
}

TEST_F(DataFileOnTheCard, KeepsItsTextAndReportsTheStatusOfEachFailedAttempt) {
  struct Row {
    std::string tar;
    Matcher<std::vector<int>> statuses;
  };
  for (const auto& [tar, statuses] : {Row{"echo part > $2; exit 255", ReportsOnly(255)},
                                      Row{"real_tar \"$@\"; exit 1", ReportsOnly(1)},
                                      Row{"exit 0", IsEmpty()}, Row{": > $2", IsEmpty()}}) {
    SCOPED_TRACE(tar);
    ReplaceTar(tar);
    Statuses().clear();

    EXPECT_FALSE(Pack());
    m_file.RemoveRemains();

    EXPECT_THAT(Statuses(), statuses);
    EXPECT_EQ(ReadFile(kText), "document");
    EXPECT_THAT(Left(), ElementsAre("S20240102030405.dat"));
  }
}

// The paths that this process has open, a line each.
std::string OpenPaths() {
  return Shell("readlink /proc/$PPID/fd/*; true");
}

TEST_F(DataFileOnTheCard, SynchronisesArchiveAndDirectoryTogetherWithTheRemovalOfItsText) {
  int synchronised = 0;
  AtNextCall(Call::kFsync, [&] {
    ++synchronised;
    EXPECT_THAT(OpenPaths(), HasSubstr(std::string(kArchive) + "\n"));
    EXPECT_FALSE(Exists(kText));
    AtNextCall(Call::kFsync, [&] {
      ++synchronised;
      EXPECT_THAT(OpenPaths(), HasSubstr(std::string(kRealDataDay) + "\n"));
    });
  });

  Pack();

  EXPECT_EQ(synchronised, 2);
}

class DataFileBesideAnEarlierArchive : public DataFileOnTheCard {
 protected:
  void SetUp() override {
    DataFileOnTheCard::SetUp();
    WriteFile(kArchive, "earlier");
  }
};

TEST_F(DataFileBesideAnEarlierArchive, ReplacesItOnceTheNewOneIsWholeAndOnTheCard) {
  WriteFile(std::string(kRealDataDay) + "/new/left/behind", "half");
  std::string atFirstSync;
  AtNextCall(Call::kFsync, [&] { atFirstSync = ReadFile(kArchive); });

  EXPECT_TRUE(Pack());

  EXPECT_EQ(atFirstSync, "earlier");
  EXPECT_EQ(Unpack(kArchive), "document");
  EXPECT_THAT(Left(), ElementsAre("S20240102030405.tar.gz"));
}

TEST_F(DataFileBesideAnEarlierArchive, KeepsItAndTheTextAfterAFailure) {
  ReplaceTar("echo part > $2; exit 2");

  EXPECT_FALSE(Pack());
  m_file.RemoveRemains();

  EXPECT_EQ(ReadFile(kArchive), "earlier");
  EXPECT_EQ(ReadFile(kText), "document");
  EXPECT_THAT(Left(), ElementsAre("S20240102030405.dat", "S20240102030405.tar.gz"));
}

TEST_F(DataFileBesideAnEarlierArchive, ReportsThatItCannotBeReplaced) {
  ReplaceTar("rm -f ../$2; mkdir -p ../$2; real_tar \"$@\"");

  EXPECT_FALSE(Pack());

  EXPECT_THAT(Statuses(), ReportsOnly(EISDIR));
}

TEST_F(DataFileBesideAnEarlierArchive, FailsWithoutRoomForADirectory) {
  FailCalls(Call::kMkdir);

  EXPECT_FALSE(Pack());
  m_file.RemoveRemains();

  EXPECT_THAT(Statuses(), ReportsOnly(ENOSPC));
  EXPECT_THAT(Left(), ElementsAre("S20240102030405.tar.gz"));
}

TEST_F(DataFileBesideAnEarlierArchive, RemovesATextThatIsNotWhole) {
  m_file.SetWriteError(EIO);

  EXPECT_FALSE(Pack());
  m_file.RemoveRemains();

  EXPECT_THAT(Statuses(), ReportsOnly(EIO));
  EXPECT_THAT(Left(), ElementsAre("S20240102030405.tar.gz"));
}

}  // namespace
