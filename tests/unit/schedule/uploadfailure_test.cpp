// The upload and retry worker when something fails.
#include <gmock/gmock.h>

#include <filesystem>

#include "schedule/workers.h"
#include "support/faults.h"
#include "support/logs.h"
#include "util/paths.h"
#include "util/sqlite.h"
#include "workerfixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

using test::Accepted;
using test::Granted;
using test::PausesText;
using test::ReadLedger;
using test::Rejected;
using test::RunToItsEnd;
using test::RunToPause;

constexpr char kAuthorize[] = "/eqpapi/EqpAuthorize";
constexpr char kRealData[] = "/eqpapi/EqpUploadDataInfo";

std::string Name(int n) {
  return "realdata/7/S2024030711000" + std::to_string(n) + ".tar.gz";
}
std::string BaseName(int n) {
  return Name(n).substr(11);
}

class UploadFailure : public test::WorkerTest {
 protected:
  void SetUp() override {
    WorkerTest::SetUp();
    test::SetTime(test::LocalTimeOf(2024, 3, 7, 12, 0, 10));
    m_cloud.Answer(Granted());
  }

  std::int32_t m_interval = 60;
};

TEST_F(UploadFailure, OfTheThirdOfFiveLeavesItAndTheRestPending) {
  for (int n = 1; n <= 5; ++n) AddFile(Name(n));
  m_cloud.Answer(Accepted()).Answer(Accepted()).Answer(Rejected()).Answer(Accepted());

  RunToPause(HandleFail, m_interval, 5);

  EXPECT_EQ(PausesText(), "50 3 3 5 49");
  EXPECT_THAT(Uploaded(kRealData), ElementsAre(BaseName(5), BaseName(4), BaseName(3)));
  EXPECT_THAT(ReadLedger(),
              ElementsAre(Pair(Name(1), "2 0"), Pair(Name(2), "2 0"), Pair(Name(3), "2 0"),
                          Pair(Name(4), "2 1"), Pair(Name(5), "2 1")));
}

TEST_F(UploadFailure, OfTheThirdOfFiveIsMadeGoodInTheNextCycle) {
  for (int n = 1; n <= 5; ++n) AddFile(Name(n));
  m_cloud.Answer(Accepted()).Answer(Accepted()).Answer(Rejected());
  m_cloud.Answer(Accepted()).Answer(Accepted()).Answer(Accepted());

  RunToPause(HandleFail, m_interval, 9);

  EXPECT_EQ(PausesText(), "50 3 3 5 49 3 3 3 51");
  EXPECT_THAT(Uploaded(kRealData), ElementsAre(BaseName(5), BaseName(4), BaseName(3), BaseName(3),
                                               BaseName(2), BaseName(1)));
  EXPECT_THAT(ReadLedger(),
              ElementsAre(Pair(Name(1), "2 1"), Pair(Name(2), "2 1"), Pair(Name(3), "2 1"),
                          Pair(Name(4), "2 1"), Pair(Name(5), "2 1")));
}

TEST_F(UploadFailure, OfTheFirstCostsTheCycle) {
  AddFile(Name(1));
  AddFile(Name(2));
  m_cloud.Answer(Rejected()).Answer(Accepted());

  RunToPause(HandleFail, m_interval, 3);

  EXPECT_EQ(PausesText(), "50 5 55");
  EXPECT_THAT(Uploaded(kRealData), ElementsAre(BaseName(2)));
}

TEST_F(UploadFailure, BesideAnHttpErrorIsNoneWhenTheAnswerAccepts) {
  AddFile(Name(1));
  m_cloud.Answer(test::HttpAnswer(500, R"({"status":0,"message":"ok"})"));

  RunToPause(HandleFail, m_interval, 3);

  EXPECT_EQ(PausesText(), "50 3 57");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(Name(1), "2 1")));
}

TEST_F(UploadFailure, OfAnAnswerOfTheWrongTypeEndsNothing) {
  AddFile(Name(1));
  m_cloud.Answer(test::HttpAnswer(200, R"({"status":"0","message":"ok"})")).Answer(Accepted());

  RunToPause(HandleFail, m_interval, 4);

  EXPECT_EQ(PausesText(), "50 5 55 3");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(Name(1), "2 1")));
}

TEST_F(UploadFailure, OfAFileThatCannotBeOpenedLeavesItPending) {
  AddFile(Name(1));
  const std::string path = "/media/mmcblk0p1/Cloud/JsonFiles/" + Name(1);
  std::filesystem::remove(path);
  test::WriteFile(path + "/a-directory-of-that-name", "");

  RunToPause(HandleFail, m_interval, 3);

  EXPECT_EQ(PausesText(), "50 5 55");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(Name(1), "2 0")));
}

TEST_F(UploadFailure, WithoutALedgerPausesOneSecond) {
  RunToPause(HandleFail, m_interval, 5);

  EXPECT_EQ(PausesText(), "50 1 59 1 59");
  EXPECT_THAT(Requested(), ElementsAre(kAuthorize));
  EXPECT_FALSE(test::Exists(paths::kLedger)) << "looking makes no ledger";
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(UploadFailure, WithALedgerWithoutItsTablePausesOneSecond) {
  util::Database(paths::kLedger).Execute("create table something_else(x)");

  RunToPause(HandleFail, m_interval, 3);

  EXPECT_EQ(PausesText(), "50 1 59");
  EXPECT_TRUE(test::Exists(paths::kLedger)) << "only the packing workers condemn a tree";
}

TEST_F(UploadFailure, WithAForeignFileAsItsLedgerPausesOneSecond) {
  test::WriteFile(paths::kLedger, "no database at all, but long enough to be looked at as one");

  RunToPause(HandleFail, m_interval, 3);

  EXPECT_EQ(PausesText(), "50 1 59");
}

TEST_F(UploadFailure, WithALedgerThatCannotBeOpenedPausesOneSecond) {
  AddFile(Name(1));
  test::FailCalls(test::Call::kSqliteOpen);

  RunToPause(HandleFail, m_interval, 3);

  EXPECT_EQ(PausesText(), "50 1 59");
}

TEST_F(UploadFailure, WithNothingPendingIsNone) {
  AddFile(Name(1));
  util::Database(paths::kLedger).Execute("update tJsonFileNames set Result=1");

  RunToPause(HandleFail, m_interval, 3);

  EXPECT_EQ(PausesText(), "50 60 60");
  EXPECT_THAT(Requested(), ElementsAre(kAuthorize));
}

TEST_F(UploadFailure, EndsWhenTheLedgerComes) {
  int pauses = 0;
  m_cloud.Answer(Accepted());
  test::OnPause([&](test::Pause) {
    if (++pauses == 3) AddFile(Name(1));
    if (pauses == 4) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleFail, m_interval);

  EXPECT_EQ(PausesText(), "50 1 59 3");
  EXPECT_THAT(ReadLedger(), SizeIs(1));
}

}  // namespace
