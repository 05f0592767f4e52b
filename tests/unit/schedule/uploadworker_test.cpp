// The upload and retry worker: what it sends, when, and in which order.
#include <gmock/gmock.h>

#include <filesystem>

#include "config/sysset.h"
#include "historydata/historydata.h"
#include "schedule/workers.h"
#include "support/logs.h"
#include "util/paths.h"
#include "util/text.h"
#include "workerfixture.h"

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

using test::Accepted;
using test::Granted;
using test::LogRecord;
using test::PausesText;
using test::ReadLedger;
using test::Refused;
using test::RunToItsEnd;
using test::RunToPause;

constexpr char kAuthorize[] = "/eqpapi/EqpAuthorize";
constexpr char kRealData[] = "/eqpapi/EqpUploadDataInfo";
constexpr char kAlarmData[] = "/eqpapi/EqpUploadAlarmDataInfo";

// The name of the n-th file of the hour.
std::string BaseName(int n) {
  return util::Format("S202403071100%02d.tar.gz", n);
}
std::string Name(int n) {
  return "realdata/7/" + BaseName(n);
}

class UploadWorker : public test::WorkerTest {
 protected:
  void SetUp() override {
    WorkerTest::SetUp();
    test::SetTime(test::LocalTimeOf(2024, 3, 7, 12, 0, 10));
  }
  // The cloud grants the login and accepts so many uploads.
  void GrantAndAccept(int uploads) {
    m_cloud.Answer(Granted());
    for (int i = 0; i < uploads; ++i) m_cloud.Answer(Accepted());
  }

  std::int32_t m_interval = 60;
};

TEST_F(UploadWorker, LogsInBeforeItSleepsToItsFirstBoundary) {
  m_cloud.Answer(Granted());

  RunToPause(HandleFail, m_interval, 1);

  EXPECT_EQ(PausesText(), "50");
  EXPECT_THAT(Requested(), ElementsAre(kAuthorize));
  EXPECT_THAT(test::TextLog("INFO").back(), "Post Authorize Info Successfully\n");
}

TEST_F(UploadWorker, RetriesARefusedLoginEverySixtySeconds) {
  AddFile(Name(1));
  m_cloud.Answer(Refused()).Answer(Refused()).Answer(Granted());

  RunToPause(HandleFail, m_interval, 3);

  EXPECT_EQ(PausesText(), "60 60 50");
  EXPECT_THAT(Requested(), ElementsAre(kAuthorize, kAuthorize, kAuthorize));
  EXPECT_THAT(test::TextLog("WARN"),
              ElementsAre("Post Authorize Info failed\n", "Post Authorize Info failed\n"));
}

TEST_F(UploadWorker, UploadsOnceARefusedLoginIsGranted) {
  AddFile(Name(1));
  m_cloud.Answer(Refused()).Answer(Refused());
  GrantAndAccept(1);

  RunToPause(HandleFail, m_interval, 4);

  EXPECT_EQ(PausesText(), "60 60 50 3");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(Name(1), "2 1")));
}

TEST_F(UploadWorker, SendsNothingAsLongAsItIsNotLoggedIn) {
  AddFile(Name(1));

  RunToPause(HandleFail, m_interval, 30);

  EXPECT_THAT(Requested(), ElementsAreArray(std::vector<std::string>(30, kAuthorize)));
  EXPECT_THAT(test::Pauses(), Each(test::Pause(std::chrono::seconds(60))));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(Name(1), "2 0")));
}

TEST_F(UploadWorker, LogsInOnlyOnce) {
  m_cloud.Answer(Granted());
  AddFile(Name(1));
  for (int i = 0; i < 3; ++i) m_cloud.Answer(test::Rejected());

  RunToPause(HandleFail, m_interval, 7);

  EXPECT_EQ(PausesText(), "50 5 55 5 55 5 55");
  EXPECT_THAT(Requested(), ElementsAre(kAuthorize, kRealData, kRealData, kRealData));
}

TEST_F(UploadWorker, SleepsAWholeIntervalWhenItIsLoggedInOnABoundary) {
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 12, 1, 0));
  m_cloud.Answer(Granted());

  RunToPause(HandleFail, m_interval, 1);

  EXPECT_EQ(PausesText(), "60");
}

TEST_F(UploadWorker, MarksAnAcceptedFileAndPausesThreeSeconds) {
  AddFile(Name(1));
  GrantAndAccept(1);
  int pauses = 0;
  test::Ledger atThePause;
  test::OnPause([&](test::Pause) {
    if (++pauses == 2) atThePause = ReadLedger();
    if (pauses == 3) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleFail, m_interval);

  EXPECT_EQ(PausesText(), "50 3 57");
  EXPECT_THAT(atThePause, ElementsAre(Pair(Name(1), "2 1"))) << "marked before the pause";
  EXPECT_THAT(Uploaded(kRealData), ElementsAre(BaseName(1)));
}

TEST_F(UploadWorker, SendsTheNewestFirst) {
  for (const int n : {3, 1, 4, 2}) AddFile(Name(n));
  GrantAndAccept(4);

  RunToPause(HandleFail, m_interval, 6);

  EXPECT_EQ(PausesText(), "50 3 3 3 3 48");
  EXPECT_THAT(Uploaded(kRealData), ElementsAre(BaseName(4), BaseName(3), BaseName(2), BaseName(1)));
}

TEST_F(UploadWorker, TakesTheFilesPathFromTheRow) {
  AddFile(Name(1));
  GrantAndAccept(1);

  RunToPause(HandleFail, m_interval, 2);

  EXPECT_THAT(test::TextLog("INFO"),
              ::testing::Contains("start Send realdata /media/mmcblk0p1/Cloud/JsonFiles/" +
                                  Name(1) + " to " + m_cloud.Url(kRealData) + " \n"));
}

TEST_F(UploadWorker, SendsTwentyOfTwentyFiveFilesACycle) {
  std::vector<std::string> newestTwenty;
  for (int n = 1; n <= 25; ++n) AddFile(Name(n));
  for (int n = 25; n > 5; --n) newestTwenty.push_back(BaseName(n));
  GrantAndAccept(25);

  RunToPause(HandleFail, m_interval, 22);

  std::string expected = "50";
  for (int i = 0; i < 20; ++i) expected += " 3";
  EXPECT_EQ(PausesText(), expected + " 60");
  EXPECT_THAT(Uploaded(kRealData), ElementsAreArray(newestTwenty));
}

TEST_F(UploadWorker, SendsTheRestOfTwentyFiveFilesInTheNextCycle) {
  for (int n = 1; n <= 25; ++n) AddFile(Name(n));
  GrantAndAccept(25);

  RunToPause(HandleFail, m_interval, 27);

  const auto uploaded = Uploaded(kRealData);
  ASSERT_THAT(uploaded, SizeIs(25));
  EXPECT_THAT(std::vector<std::string>(uploaded.begin() + 20, uploaded.end()),
              ElementsAre(BaseName(5), BaseName(4), BaseName(3), BaseName(2), BaseName(1)));
  EXPECT_THAT(ReadLedger(), Each(Pair(::testing::_, "2 1")));
}

struct TypeOfRow {
  std::int32_t type;
  const char* endpoint;
};

void PrintTo(const TypeOfRow& row, std::ostream* out) {
  *out << "type " << row.type;
}

class RowType : public UploadWorker, public ::testing::WithParamInterface<TypeOfRow> {};

TEST_P(RowType, DecidesTheEndpoint) {
  AddFile(Name(1), GetParam().type);
  GrantAndAccept(1);

  RunToPause(HandleFail, m_interval, 2);

  EXPECT_THAT(Requested(), ElementsAre(kAuthorize, GetParam().endpoint));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(Name(1), std::to_string(GetParam().type) + " 1")));
}

INSTANTIATE_TEST_SUITE_P(Types, RowType,
                         ::testing::Values(TypeOfRow{2, kRealData}, TypeOfRow{1, kAlarmData},
                                           TypeOfRow{0, kAlarmData}, TypeOfRow{3, kAlarmData},
                                           TypeOfRow{-2, kAlarmData}));

TEST_F(UploadWorker, RetiresFilesThatAreNotWorthSending) {
  AddFile(Name(1));
  AddFile(Name(2));
  std::filesystem::remove("/media/mmcblk0p1/Cloud/JsonFiles/" + Name(1));
  test::WriteFile("/media/mmcblk0p1/Cloud/JsonFiles/" + Name(2), "");
  m_cloud.Answer(Granted());

  RunToPause(HandleFail, m_interval, 4);

  EXPECT_EQ(PausesText(), "50 3 3 54");
  EXPECT_THAT(Requested(), ElementsAre(kAuthorize));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(Name(1), "2 1"), Pair(Name(2), "2 1")));
}

TEST_F(UploadWorker, RetiresFilesOfAnotherType) {
  test::SysXml()
      .Cloud("cloudip", "127.0.0.1")
      .Cloud("port", std::to_string(m_cloud.Port()))
      .Cloud("FileType", "xml")
      .Write();
  GetCSysSetInstance().Open(paths::kSystemFile);
  AddFile(Name(1));
  m_cloud.Answer(Granted());

  RunToPause(HandleFail, m_interval, 3);

  EXPECT_EQ(PausesText(), "50 3 57");
  EXPECT_THAT(Requested(), ElementsAre(kAuthorize));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(Name(1), "2 1")));
}

TEST_F(UploadWorker, CutsAPathAt127Characters) {
  const std::string name(127, 'n');
  AddFile(name, 2);
  std::filesystem::rename("/media/mmcblk0p1/Cloud/JsonFiles/" + name,
                          "/media/mmcblk0p1/Cloud/JsonFiles/" + name.substr(0, 127 - 33));
  GrantAndAccept(1);

  RunToPause(HandleFail, m_interval, 2);

  EXPECT_THAT(Uploaded(kRealData), ElementsAre(name.substr(0, 127 - 33)));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(name, "2 1"))) << "marked under its whole name";
}

TEST_F(UploadWorker, SendsWhatWasPackedMeanwhile) {
  AddFile(Name(1));
  GrantAndAccept(2);
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 2) AddFile(Name(2));
    if (pauses == 5) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleFail, m_interval);

  EXPECT_EQ(PausesText(), "50 3 57 3 57");
  EXPECT_THAT(Uploaded(kRealData), ElementsAre(BaseName(1), BaseName(2)));
}

TEST_F(UploadWorker, ReadsItsIntervalAfreshEveryCycle) {
  m_cloud.Answer(Granted());
  AddFile(Name(1));
  int pauses = 0;
  m_cloud.Answer(Accepted());
  test::OnPause([&](test::Pause) {
    if (++pauses == 2) m_interval = 30;
    if (pauses == 4) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleFail, m_interval);

  EXPECT_EQ(PausesText(), "50 3 27 30");
}

}  // namespace
