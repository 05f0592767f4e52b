#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/faults/faultrun.h"
#include "unit/simulator/console/fakebench.h"

namespace {

using console::FaultRun;
using console::Seen;
using ::testing::HasSubstr;

// Runs "nonsense": it has expectations of the log, of the account and of the cloud.
class RunOfAFault : public ::testing::Test {
 protected:
  RunOfAFault() {
    m_seen.now = 1700000000;
    m_seen.elapsed = 1000;
    m_seen.real = 100;
    m_seen.serviceRuns = true;
    m_seen.logged = [this](std::string_view text, std::time_t since) {
      const auto found = m_logs.find(std::string(text));
      return found != m_logs.end() && found->second >= since;
    };
    Log("UPloadFile recv error format message");  // long ago
    Pass(60);
  }

  FaultRun& Begin(double seconds = 180) {
    return m_run.emplace(7, *console::FindFault("nonsense"), console::FaultParams{}, seconds,
                         m_seen, m_bench);
  }
  void Log(const std::string& text) { m_logs[text] = m_seen.now; }
  void Pass(long seconds) {
    m_seen.now += seconds;
    m_seen.elapsed += static_cast<double>(seconds);
    m_seen.real += static_cast<double>(seconds) / 10;
  }
  void Look() { m_run->Look(m_seen, m_bench); }
  // Everything that should happen while the fault is active.
  void HappenDuring() {
    Log("UPloadFile recv error format message");
    m_seen.exchanges["realdata"].disturbed += 1;
    m_seen.verdictCode = "BRN-UPLOADS-REFUSED";
    m_seen.kinds["realdata"].pending += 3;
    m_seen.total.pending += 3;
    Look();
  }
  void HappenAfter() {
    m_seen.kinds["realdata"].pending -= 3;
    m_seen.kinds["realdata"].accepted += 3;
    Look();
  }
  std::string Json() {
    return console::JsonReply([this](console::JsonWriter& json) { m_run->Write(json, m_seen); })
        .body;
  }

  Seen m_seen{};
  std::map<std::string, std::time_t> m_logs{};
  test::FakeBench m_bench{};
  std::optional<FaultRun> m_run{};
};

TEST_F(RunOfAFault, ExpiresAndEndsAsExpected) {
  const FaultRun& run = Begin();
  EXPECT_EQ(m_bench.world.standing.size(), 3u);
  HappenDuring();
  Pass(179);
  Look();
  EXPECT_EQ(run.Now(), FaultRun::State::kActive);

  Pass(1);
  Look();
  EXPECT_EQ(run.Now(), FaultRun::State::kHealing);
  EXPECT_TRUE(m_bench.world.standing.empty());
  Pass(30);
  HappenAfter();

  EXPECT_EQ(run.Now(), FaultRun::State::kEnded);
  EXPECT_TRUE(run.IsAsExpected());
}

TEST_F(RunOfAFault, DoesNotTakeAnOldRecordForItsOwn) {
  Begin();
  Look();

  EXPECT_THAT(Json(), Not(HasSubstr("\"met_unix_s\":1")));
}

TEST_F(RunOfAFault, NamesWhatWasNotSeen) {
  const FaultRun& run = Begin();
  Pass(180);
  Look();
  Pass(2000);  // longer than it has time to heal
  Look();

  EXPECT_EQ(run.Now(), FaultRun::State::kEnded);
  EXPECT_FALSE(run.IsAsExpected());
  EXPECT_THAT(
      Json(),
      HasSubstr("\"verdict\":\"not as expected\",\"text\":\"this was not seen: The cloud does it"));
}

TEST_F(RunOfAFault, GivesTheNetworkRealTimeToHeal) {
  const FaultRun& run = Begin();
  Pass(180);
  Look();
  m_seen.elapsed += 2000;
  m_seen.real += 119;
  Look();
  EXPECT_EQ(run.Now(), FaultRun::State::kHealing);

  m_seen.real += 1;
  Look();
  EXPECT_EQ(run.Now(), FaultRun::State::kEnded);
}

TEST_F(RunOfAFault, TakesLossForAFailure) {
  const FaultRun& run = Begin();
  HappenDuring();
  Pass(180);
  Look();
  m_seen.total.lostRecorded = 1;
  HappenAfter();
  EXPECT_EQ(run.Now(), FaultRun::State::kHealing);
  Pass(2000);
  Look();

  EXPECT_FALSE(run.IsAsExpected());
  EXPECT_THAT(Json(), HasSubstr("this was not seen: No recorded file is lost."));
}

TEST_F(RunOfAFault, DoesNotMissWhatAnEarlyStopPrevented) {
  FaultRun& run = Begin();
  run.Stop(m_seen, m_bench);
  EXPECT_TRUE(m_bench.world.standing.empty());
  Pass(30);
  m_seen.kinds["realdata"].accepted += 1;
  Look();

  EXPECT_TRUE(run.IsAsExpected());
  EXPECT_THAT(Json(), HasSubstr("it was too short for this: The cloud does it"));
}

TEST_F(RunOfAFault, DoesNotMissWhatAShortTimePrevented) {
  const FaultRun& run = Begin(30);
  Pass(30);
  Look();
  m_seen.kinds["realdata"].accepted += 1;
  Look();

  EXPECT_TRUE(run.IsAsExpected());
}

TEST_F(RunOfAFault, IsPutRightAgainAndAgainUntilItSucceeds) {
  const FaultRun& run = Begin();
  HappenDuring();
  m_bench.trouble = "nobody listens";
  Pass(180);
  Look();
  EXPECT_EQ(run.Now(), FaultRun::State::kHealing);
  EXPECT_EQ(m_bench.world.standing.size(), 3u);
  EXPECT_THAT(Json(), HasSubstr("cannot be put right yet: nobody listens"));
  EXPECT_FALSE(run.Over());

  m_bench.trouble.clear();
  Look();
  EXPECT_TRUE(m_bench.world.standing.empty());
  EXPECT_EQ(run.Over(), m_seen.now);
}

TEST_F(RunOfAFault, IsOverWhenTheCloudNoLongerDoesIt) {
  const FaultRun& run = Begin();
  Look();
  EXPECT_EQ(run.Now(), FaultRun::State::kActive);
  m_bench.world.standing.clear();
  Pass(20);
  Look();

  EXPECT_EQ(run.Now(), FaultRun::State::kHealing);
}

TEST_F(RunOfAFault, LastsAsLongWhenTheClockIsStepped) {
  const FaultRun& run = Begin();
  m_seen.now += 86400;
  Look();
  EXPECT_EQ(run.Now(), FaultRun::State::kActive);
  EXPECT_THAT(Json(), HasSubstr("\"ends_unix_s\":" + std::to_string(m_seen.now + 180)));

  m_seen.now -= 2 * 86400L;
  Pass(10);
  HappenDuring();  // its record is older than the beginning
  EXPECT_THAT(Json(),
              HasSubstr("error format message\\\".\",\"phase\":\"during\",\"met_unix_s\":1"));
}

}  // namespace
