// The heartbeat worker: when it asks, and what becomes of the answer.
#include <gmock/gmock.h>

#include "config/sysset.h"
#include "schedule/workers.h"
#include "steptap.h"
#include "support/faults.h"
#include "support/logs.h"
#include "workerfixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using test::HttpAnswer;
using test::PausesText;
using test::RunToItsEnd;
using test::RunToPause;

constexpr char kSkipAddress[] = "/eqpapi/EqpSkipAddress";

std::string Redirect(const std::string& address) {
  return HttpAnswer(200,
                    R"({"status":0,"message":"ok","data":[{"realIpAddress":")" + address + "\"}]}");
}

class HeartWorker : public test::WorkerTest {
 protected:
  void SetUp() override {
    WorkerTest::SetUp();
    test::SetTime(test::LocalTimeOf(2024, 3, 7, 12, 3, 20));
  }

  std::int32_t m_interval = 600;
};

TEST_F(HeartWorker, SleepsToItsBoundaryBeforeItAsks) {
  RunToPause(HandleHeart, m_interval, 1);

  EXPECT_EQ(PausesText(), "400");
  EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(HeartWorker, SleepsAWholeIntervalWhenItStartsOnABoundary) {
  test::SetTime(test::LocalTimeOf(2024, 3, 7, 12, 10));

  RunToPause(HandleHeart, m_interval, 1);

  EXPECT_EQ(PausesText(), "600");
}

TEST_F(HeartWorker, AsksOnceAtEveryBoundary) {
  for (int i = 0; i < 3; ++i) m_cloud.Answer(Redirect("127.0.0.1"));

  RunToPause(HandleHeart, m_interval, 4);

  EXPECT_EQ(PausesText(), "400 600 600 600");
  EXPECT_THAT(Requested(), ElementsAre(kSkipAddress, kSkipAddress, kSkipAddress));
}

TEST_F(HeartWorker, RedirectsDataTrafficAndGoesOnAskingTheConfiguredAddress) {
  m_cloud.Answer(Redirect("127.0.0.2:8080")).Answer(Redirect("127.0.0.3"));
  std::vector<std::string> inUse;
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    inUse.emplace_back(GetCSysSetInstance().GetRealIpAddress());
    if (++pauses == 3) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleHeart, m_interval);

  EXPECT_THAT(inUse, ElementsAre("127.0.0.1", "127.0.0.2", "127.0.0.3"));
  EXPECT_THAT(Requested(), ElementsAre(kSkipAddress, kSkipAddress));
}

TEST_F(HeartWorker, NeverPausesForAFailure) {
  m_cloud.Answer(HttpAnswer(500, ""));
  m_cloud.Answer(test::RawServer::Pieces{});  // hangs up
  m_cloud.Answer(HttpAnswer(200, "nonsense"));

  RunToPause(HandleHeart, m_interval, 4);

  EXPECT_EQ(PausesText(), "400 600 600 600");
  EXPECT_STREQ(GetCSysSetInstance().GetRealIpAddress(), "127.0.0.1");
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(HeartWorker, NeverPausesForAMissingHandle) {
  test::FailCalls(test::Call::kCurlEasyInit);

  RunToPause(HandleHeart, m_interval, 2);

  EXPECT_EQ(PausesText(), "400 600");
}

TEST_F(HeartWorker, WouldPauseOneSecondForACheckThatFails) {
  test::FailNextStep(test::Step::kAskForTheAddress);

  RunToPause(HandleHeart, m_interval, 3);

  EXPECT_EQ(PausesText(), "400 1 599");
}

TEST_F(HeartWorker, SurvivesAnswersOfTheWrongType) {
  m_cloud.Answer(HttpAnswer(200, R"({"status":0,"message":"","data":7})"));
  m_cloud.Answer(Redirect("127.0.0.2"));

  RunToPause(HandleHeart, m_interval, 3);

  EXPECT_STREQ(GetCSysSetInstance().GetRealIpAddress(), "127.0.0.2");
}

TEST_F(HeartWorker, ReadsItsIntervalAfreshEveryCycle) {
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 2) m_interval = 60;
    if (pauses == 4) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleHeart, m_interval);

  EXPECT_EQ(PausesText(), "400 600 60 60");
}

}  // namespace
