// One real-data file: its names, its messages, its pauses, and what becomes of a snapshot that is
// not complete.
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "packtest.h"
#include "support/clock.h"
#include "support/faults.h"
#include "support/files.h"
#include "support/logs.h"

using test::Catalogue;
using test::kAfterAChannel;
using test::kAfterADevice;
using test::kBeforeAnAttempt;
using test::LogRecord;
using test::Packed;
using ::testing::ElementsAre;
using ::testing::ExitedWithCode;
using ::testing::IsEmpty;
using ::testing::KilledBySignal;

namespace {

constexpr std::uint32_t kPoint = 0x01031123;

class RealDataFile : public test::PackTest {};

TEST_F(RealDataFile, IsAnArchiveOfOneTextUnderItsBareName) {
  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, ElementsAre(test::kArchive));
  EXPECT_EQ(test::Members(test::kArchive), "S20240307120000.dat\n");
  EXPECT_THAT(test::ReadFile(test::kArchive), ::testing::StartsWith("\x1f\x8b"));  // gzip
}

TEST_F(RealDataFile, LeavesTheArchiveAlone) {
  Pack({});

  EXPECT_THAT(test::List(test::kDirectory), ElementsAre("S20240307120000.tar.gz"));
}

TEST_F(RealDataFile, IsReportedOnce) {
  Pack({});

  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{
                  "INFO", std::string("CreateRealDataJsonFile ") + test::kArchive + " Success"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(RealDataFile, IsAppendedToTheFiles) {
  std::vector<std::string> files = {"before"};
  Real_Data_Struct values;

  GetCPackFileInstance().CreateRealDataJsonFile(&values, test::kDirectory, &files,
                                                std::time(nullptr));

  EXPECT_THAT(files, ElementsAre("before", test::kArchive));
}

TEST_F(RealDataFile, IsNamedAfterTheSnapshotNotAfterTheClock) {
  const Packed packed = Pack({}, test::LocalTimeOf(2019, 12, 31, 23, 59, 58));

  EXPECT_THAT(packed.files, ElementsAre(std::string(test::kDirectory) + "/S20191231235958.tar.gz"));
}

TEST_F(RealDataFile, OfTheSameMomentReplacesTheFirst) {
  Catalogue().Point(kPoint);

  const Packed first = Pack({{kPoint, 1}}, test::LocalTimeOf(2024, 3, 7, 12));
  const Packed second = Pack({{kPoint, 2}}, test::LocalTimeOf(2024, 3, 7, 12));

  EXPECT_EQ(first.files, second.files);
  EXPECT_THAT(test::Unpack(test::kArchive), ::testing::HasSubstr(R"("value":"2.000")"));
  EXPECT_THAT(test::List(test::kDirectory), ElementsAre("S20240307120000.tar.gz"));
}

TEST_F(RealDataFile, ReplacesATextThatWasLeftBehind) {
  test::WriteFile(test::kText, std::string(10000, 'x'));

  Pack({});

  EXPECT_EQ(test::Unpack(test::kArchive), R"({"sn":"BR0042","data":[]})");
}

TEST_F(RealDataFile, LeavesTheSnapshotAsItIs) {
  Catalogue().Point(kPoint);
  Real_Data_Struct values{{kPoint, 1}, {kPoint + 1, 2}};
  const Real_Data_Struct before = values;
  std::vector<std::string> files;

  GetCPackFileInstance().CreateRealDataJsonFile(&values, test::kDirectory, &files, 0);

  EXPECT_EQ(values, before);
}

TEST_F(RealDataFile, PausesAfterEveryDeviceAndEveryChannelAndBeforeTheCompression) {
  Catalogue().Device(1, 1).Device(1, 2).Channel(2).Device(193, 1).Device(193, 2).Device(255, 1);

  Pack({});

  EXPECT_THAT(test::Pauses(),
              ElementsAre(kAfterADevice, kAfterADevice, kAfterAChannel, kAfterAChannel,
                          kAfterAChannel, kAfterADevice, kAfterAChannel, kBeforeAnAttempt));
}

TEST_F(RealDataFile, OfAnEmptyCataloguePausesOnlyBeforeTheCompression) {
  Pack({});

  EXPECT_THAT(test::Pauses(), ElementsAre(kBeforeAnAttempt));
}

TEST_F(RealDataFile, OfChannel193AlonePausesHalfASecondForIt) {
  Catalogue().Point(0xC1010001);

  Pack({});

  EXPECT_THAT(test::Pauses(), ElementsAre(kAfterAChannel, kBeforeAnAttempt));
}

TEST_F(RealDataFile, HasItsTextWrittenAfterTheWalkAndBeforeTheCompression) {
  Catalogue().Device(1, 1);
  std::vector<std::string> seen;  // what stands in the directory at each pause
  test::OnPause([&](test::Pause) {
    std::string names;
    for (const auto& name : test::List(test::kDirectory)) names += name;
    seen.push_back(names);
  });

  Pack({});

  EXPECT_THAT(seen, ElementsAre("", "", "S20240307120000.dat"));
}

TEST_F(RealDataFile, IsNotMadeWhenAPointHasNoValue) {
  Catalogue().Point(0x01030001).Point(0x0A0300FE);

  const Packed packed = Pack({{0x01030001, 1}});

  EXPECT_EQ(packed.result, 0);
  EXPECT_THAT(packed.files, IsEmpty());
  EXPECT_THAT(test::List(test::kDirectory), IsEmpty());
}

TEST_F(RealDataFile, NamesThePointThatHasNoValue) {
  Catalogue().Point(0x01030001).Point(0x0A0300FE);

  Pack({{0x01030001, 1}});

  EXPECT_THAT(test::TextLog(),
              ElementsAre(LogRecord{"INFO", std::string("CreateRealDataJsonFile ") + test::kText +
                                                " Error, can't find id: 0a0300fe"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(RealDataFile, EndsAtAPointWithoutAValueWithoutFurtherPauses) {
  Catalogue().Point(0x01030001).Point(0x01040001).Point(0x01050001);

  Pack({{0x01030001, 1}});

  EXPECT_THAT(test::Pauses(), ElementsAre(kAfterADevice));
}

TEST_F(RealDataFile, LeavesAnEarlierFileOfThatNameWhenAPointHasNoValue) {
  Catalogue().Point(kPoint);
  test::WriteFile(test::kText, "text");
  test::WriteFile(test::kArchive, "archive");

  Pack({});

  EXPECT_EQ(test::ReadFile(test::kText), "text");
  EXPECT_EQ(test::ReadFile(test::kArchive), "archive");
}

TEST_F(RealDataFile, IsNotMadeWhenTheTimeCannotBeTold) {
  Catalogue().Device(1, 1);
  test::FailCalls(test::Call::kLocaltime);

  const Packed packed = Pack({});

  EXPECT_EQ(packed.result, -1);
  EXPECT_THAT(packed.files, IsEmpty());
  EXPECT_THAT(test::List(test::kDirectory), IsEmpty());
  EXPECT_THAT(test::Pauses(), IsEmpty());
  EXPECT_THAT(test::TextLog(), IsEmpty());
}

// The stop holds in every build type; its message is the one of assert.
class RealDataFileStop : public RealDataFile {
 protected:
  void SetUp() override {
    RealDataFile::SetUp();
    GTEST_FLAG_SET(death_test_style, "threadsafe");
  }
};

constexpr char kStop[] =
    "packfile/packfile\\.cpp:[0-9]+: .*CPackFile::CreateRealDataJsonFile\\(.*\\): "
    "Assertion `ofs\\.is_open\\(\\)' failed";

TEST_F(RealDataFileStop, EndsTheProcessWithoutADirectoryForTheText) {
  std::filesystem::remove_all(test::kDirectory);

  EXPECT_EXIT(Pack({}), KilledBySignal(SIGABRT), kStop);
}

TEST_F(RealDataFileStop, EndsTheProcessWhenTheTextCannotBeOpened) {
  std::filesystem::create_directories(test::kText);

  EXPECT_EXIT(Pack({}), KilledBySignal(SIGABRT), kStop);
}

TEST_F(RealDataFileStop, DoesNotComeBeforeThePointWithoutAValue) {
  Catalogue().Point(kPoint);
  std::filesystem::remove_all(test::kDirectory);

  EXPECT_EXIT(std::exit(Pack({}).result), ExitedWithCode(0), "");
}

}  // namespace
