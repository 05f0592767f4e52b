#include "console/watch/watcher.h"

#include <unistd.h>

#include "acquisition/segment.h"
#include "unit/simulator/console/watchfixture.h"

namespace test {
namespace {

using console::Watcher;

class WatcherTest : public WatchTest {
 protected:
  static bool HasReason(const rapidjson::Document& state, const std::string& part) {
    for (const auto& reason : state["account"]["reasons"].GetArray()) {
      if (std::string(reason.GetString()).find(part) != std::string::npos) return true;
    }
    return false;
  }
};

TEST_F(WatcherTest, SumsUpLedgerArchivesAndArrivals) {
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307115900"), kRealDataFile, 1);
  Insert(ledger, RealName("20240307115800"), kRealDataFile, 1);
  Insert(ledger, "alarmdata/7/T20240307115930.tar.gz", kAlarmDataFile, 0);
  ledger.Run("insert into recallJsonFile values(1, '" + std::string(paths::kCallData) +
             "/R20240307115940.tar.gz')");
  WriteFile(std::string(paths::kRealData) + "/7/S20240307120000.tar.gz", "archive");
  Arrive("S20240307115900.tar.gz", true);

  Watcher watcher(m_sources);
  LookOften(watcher);

  const auto state = State(watcher);
  const auto& total = state["account"]["total"];
  EXPECT_EQ(total["produced"].GetInt(), 5);
  EXPECT_EQ(total["accepted"].GetInt(), 1);
  EXPECT_EQ(total["judged_sent"].GetInt(), 1);
  EXPECT_EQ(total["pending"].GetInt(), 3);
  EXPECT_EQ(state["account"]["realdata"]["produced"].GetInt(), 3);
  EXPECT_EQ(state["account"]["calldata"]["pending"].GetInt(), 1);
  EXPECT_FALSE(state["account"]["normal"].GetBool());
  EXPECT_TRUE(HasReason(state, "S20240307115800.tar.gz"));
}

TEST_F(WatcherTest, CallsNothingNormalBeforeItHasLooked) {
  const Watcher watcher(m_sources);

  const auto state = State(watcher);

  EXPECT_FALSE(state["account"]["normal"].GetBool());
  EXPECT_EQ(state["road"]["stages"].Size(), 5U);
}

TEST_F(WatcherTest, KeepsTheAccountWhileTheLedgerCannotBeRead) {
  Watcher watcher(m_sources);
  {
    DatabaseFile ledger = MakeLedger();
    Insert(ledger, RealName("20240307115900"));
    LookOnce(watcher);
  }
  Empty(paths::kCardMount);
  LookOften(watcher);

  const auto state = State(watcher);
  EXPECT_EQ(state["account"]["total"]["pending"].GetInt(), 1);
  EXPECT_EQ(state["account"]["total"]["lost"].GetInt(), 0);
}

TEST_F(WatcherTest, SaysWhyTheServiceIsDown) {
  m_processes[0] = {"service", false, std::time(nullptr), "ended with status 1 at 12:00"};

  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto state = State(watcher);
  EXPECT_TRUE(HasReason(state, "the service does not run: ended with status 1 at 12:00"));
  EXPECT_STREQ(state["verdicts"]["witness"]["level"].GetString(), "critical");
}

TEST_F(WatcherTest, SaysThatTheCardIsMissing) {
  ASSERT_EQ(unlink(paths::kCardDevice), 0);
  Watcher watcher(m_sources);
  LookOnce(watcher);

  EXPECT_TRUE(HasReason(State(watcher), "the SD card is missing"));
}

TEST_F(WatcherTest, SaysWhenValuesStayTheSame) {
  const Segment segment({{0x01030001, 12.5}});
  Watcher watcher(m_sources);
  LookOnce(watcher);
  EXPECT_STREQ(State(watcher)["road"]["stages"][0]["state"].GetString(), "good");
  SetTime(std::time(nullptr) + 130);

  LookOnce(watcher);

  const auto state = State(watcher);
  EXPECT_STREQ(state["road"]["stages"][0]["state"].GetString(), "waiting");
  EXPECT_STREQ(state["road"]["stages"][0]["text"].GetString(),
               "the acquisition side publishes the same values since 2024-03-07 12:00:00");
  EXPECT_TRUE(HasReason(state, "publishes the same values since 2024-03-07 12:00:00"));
}

TEST_F(WatcherTest, SaysWhenTheCloudAcceptsNothingForLong) {
  Arrive("S20240307115900.tar.gz", true);
  Watcher watcher(m_sources);
  SetTime(LocalTimeOf(2024, 3, 7, 12) + 600);

  LookOnce(watcher);

  EXPECT_TRUE(HasReason(State(watcher), "accepted no live values for 10 min"));
}

TEST_F(WatcherTest, SaysWhenFilesWaitForLong) {
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307115900"));
  Watcher watcher(m_sources);
  LookOnce(watcher);
  SetTime(LocalTimeOf(2024, 3, 7, 12) + 600);

  LookOnce(watcher);

  EXPECT_TRUE(HasReason(State(watcher), "1 file waits, the oldest for 10 min"));
}

TEST_F(WatcherTest, TellsLoginAddressAndHeartbeatFromTheLogs) {
  Log("Brennik is Set on");
  Log("Post Authorize Info Successfully");
  Log("real IP has become 127.0.0.2");
  Log("Skip Address Receive Response:\n{}");

  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto state = State(watcher);
  const auto& road = state["road"];
  EXPECT_TRUE(road["login"]["done"].GetBool());
  EXPECT_STREQ(road["address"].GetString(), "127.0.0.2:8080");
  EXPECT_EQ(road["heartbeat_unix_s"].GetInt64(), std::time(nullptr));
}

TEST_F(WatcherTest, CallsAStageBrokenWhereSomethingFails) {
  Log("Post Authorize Info Successfully");
  Log("Send realdata /media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307115900.tar.gz to "
      "http://127.0.0.1:8080 failed",
      "WARN");

  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto state = State(watcher);
  const auto& stages = state["road"]["stages"];
  EXPECT_STREQ(stages[0]["state"].GetString(), "broken");  // there is no segment
  EXPECT_STREQ(stages[3]["id"].GetString(), "upload");
  EXPECT_STREQ(stages[3]["state"].GetString(), "broken");
}

TEST_F(WatcherTest, SaysWhichKindFailsSinceWhenAndWhy) {
  const std::string real = std::string(paths::kRealData) + "/7/S20240307115900.tar.gz to x";
  const std::string alarm = std::string(paths::kAlarmData) + "/7/T20240307115930.tar.gz to x";
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307115900"));
  const std::time_t noon = LocalTimeOf(2024, 3, 7, 12);
  SetTime(noon - 900);
  Arrive("S20240307114400.tar.gz", true);
  SetTime(noon);
  Arrive("T20240307115930.tar.gz", true);
  for (const long second : {0, 30}) {
    SetTime(noon + second);
    Log("start Send realdata " + real);
    Log("UPloadFile recv message:{\"status\":1,\"message\":\"refused\"}");
    Log("Send realdata " + real + " failed", "WARN");
    Log("start Send alarmdata " + alarm);
    Log("Send Alarmdata " + alarm + " successfully");
  }
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto state = State(watcher);
  const std::string cause =
      "uploads of real data fail since 2024-03-07 12:00:00: the cloud answers status 1, "
      "\"refused\" (1 file waits); last accepted: alarms at 2024-03-07 12:00:00";
  EXPECT_TRUE(HasReason(state, cause));
  EXPECT_EQ(state["road"]["stages"][3]["text"].GetString(), cause);
  EXPECT_STREQ(state["road"]["stages"][4]["state"].GetString(), "waiting");
  EXPECT_STREQ(state["road"]["stages"][4]["text"].GetString(),
               "last accepted at 2024-03-07 12:00:00, but real data at 2024-03-07 11:45:00");
  EXPECT_STREQ(state["road"]["stages"][3]["state"].GetString(), "broken");
}

TEST_F(WatcherTest, SaysThatAnUploadHasNoAnswer) {
  Log("start Send realdata " + std::string(paths::kRealData) + "/7/S20240307115900.tar.gz to x");
  Watcher watcher(m_sources);
  LookOnce(watcher);
  EXPECT_STREQ(State(watcher)["road"]["stages"][3]["text"].GetString(),
               "S20240307115900.tar.gz is being sent since 2024-03-07 12:00:00, 0 files wait");
  SetTime(std::time(nullptr) + 120);

  LookOnce(watcher);

  const auto state = State(watcher);
  EXPECT_TRUE(HasReason(state,
                        "the cloud does not answer since 2024-03-07 12:00:00: "
                        "S20240307115900.tar.gz is being sent for 2 min"));
  EXPECT_STREQ(state["road"]["stages"][3]["state"].GetString(), "broken");
}

TEST_F(WatcherTest, SaysWhyTheLoginFailsOnOneLine) {
  Log("Auth Receive Response:\n{\"status\":1,\"message\":\"refused\"}");
  Log("Post Authorize Info failed", "WARN");
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto state = State(watcher);
  EXPECT_STREQ(state["road"]["login"]["text"].GetString(),
               "the login fails since 2024-03-07 12:00:00: the cloud answers status 1, "
               "\"refused\"");
  EXPECT_TRUE(HasReason(state, "the login fails since 2024-03-07 12:00:00"));
}

TEST_F(WatcherTest, NamesAPointWithoutAValueInAllItsNames) {
  const Segment segment({{0x0103FFFF, 1}});
  Watcher watcher(m_sources);
  SetTime(std::time(nullptr) + 10);
  LookOnce(watcher);

  EXPECT_TRUE(HasReason(State(watcher),
                        "point 1/3:0001 Level (01030001 in the logs) is configured and has no "
                        "value since 2024-03-07 12:00:10"));
}

TEST_F(WatcherTest, NamesTheCauseBeforeWhatComesOfIt) {
  const DatabaseFile ledger = MakeLedger();
  m_processes[1] = {"acquisition", false, 0, "killed by signal 9 at 11:00:00"};
  Arrive("S20240307115900.tar.gz", true);
  Watcher watcher(m_sources);
  SetTime(LocalTimeOf(2024, 3, 7, 13));

  LookOnce(watcher);

  const auto state = State(watcher);
  const auto& reasons = state["account"]["reasons"];
  ASSERT_EQ(reasons.Size(), 2U);
  EXPECT_THAT(reasons[0].GetString(), testing::StartsWith("the acquisition side does not run: "));
  EXPECT_THAT(reasons[1].GetString(), testing::HasSubstr("since 2024-03-07 12:00:00"));
}

TEST_F(WatcherTest, SaysThatTheClockWasSetBack) {
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307123000"));
  Watcher watcher(m_sources);
  LookOnce(watcher);

  EXPECT_TRUE(HasReason(State(watcher),
                        "clock was set back: S20240307123000.tar.gz is 30 min ahead of it"));
}

TEST_F(WatcherTest, CountsARefusedRecallAsAcceptedOnceItsOrderIsAnswered) {
  m_sources.document = [](long) { return R"({"sn":"TS20240117","id":7,"data":[]})"; };
  DatabaseFile ledger = MakeLedger();
  Arrive("R20240307115900.tar.gz", false);
  WriteFile(std::string(paths::kCallData) + "/R20240307115900.tar.gz", "archive");
  Watcher watcher(m_sources);
  LookOften(watcher);
  const auto before = State(watcher);
  EXPECT_EQ(before["account"]["calldata"]["pending"].GetInt(), 1);

  Arrive("R20240307120000.tar.gz", true);
  LookOften(watcher);

  const auto after = State(watcher);
  EXPECT_EQ(after["account"]["calldata"]["accepted"].GetInt(), 2);
}

}  // namespace
}  // namespace test
