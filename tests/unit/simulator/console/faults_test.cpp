#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/faults/faults.h"
#include "console/web/dispatch.h"
#include "unit/simulator/console/fakebench.h"

namespace {

using console::Reply;
using console::Seen;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class Faults : public ::testing::Test {
 protected:
  Faults() {
    m_seen.now = 1700000000;
    m_faults.AddRoutes(m_router);
    m_faults.Look(m_seen);
  }

  Reply Post(const std::string& what, const std::string& body) {
    return console::AnswerPost(m_router, "/api/faults/" + what, body);
  }
  std::string State() const {
    return console::JsonReply([this](console::JsonWriter& json) {
             json.StartObject();
             m_faults.WriteState(json);
             json.EndObject();
           })
        .body;
  }
  void Pass(long seconds) {
    m_seen.now += seconds;
    m_seen.elapsed += static_cast<double>(seconds);
    m_seen.real += static_cast<double>(seconds) / m_bench.world.speed;
    m_faults.Look(m_seen);
  }

  test::FakeBench m_bench{};
  Seen m_seen{};
  console::Faults m_faults{m_bench};
  console::Router m_router{};
};

TEST_F(Faults, TellTheirCatalogue) {
  const std::string body = console::AnswerGet(m_router, "/api/faults", {}).body;

  EXPECT_THAT(
      body,
      StartsWith(
          R"({"schema":1,"catalogue":[{"fault":"refuse-login","group":"cloud","title":"Refuse login")"));
  EXPECT_THAT(body, HasSubstr(R"("expectation_texts":["The service makes 3 files of alarms.")"));
  EXPECT_THAT(
      body,
      HasSubstr(
          R"("params":[{"name":"kind","title":"Kind of files","kind":"choice","choices":["all",)"));
  EXPECT_THAT(
      body,
      HasSubstr(
          R"({"name":"events","title":"Alarm events","kind":"number","min":1,"max":500,"default":45})"));
  EXPECT_THAT(body, HasSubstr(R"("available":true,"reason":null)"));
}

TEST_F(Faults, SayWhyOneCannotBeHad) {
  m_bench.reason = "the card is this machine's disk";

  EXPECT_THAT(console::AnswerGet(m_router, "/api/faults", {}).body,
              HasSubstr(R"("available":false,"reason":"the card is this machine's disk")"));
  EXPECT_EQ(Post("start", R"({"fault":"fill-card"})").status, 409);
}

TEST_F(Faults, StartAndStopByTheirNumber) {
  const Reply started = Post("start", R"({"fault":"fill-card","seconds":90})");
  EXPECT_THAT(
      started.body,
      StartsWith(R"({"run":1,"fault":"fill-card","title":"Fill the card","params":{},)"
                 R"("started_unix_s":1700000000,"ends_unix_s":1700000090,"state":"active")"));
  EXPECT_THAT(State(), StartsWith(R"({"faults":{"active":[{"run":1,)"));

  EXPECT_EQ(Post("stop", R"({"run":2})").status, 404);
  EXPECT_EQ(Post("stop", R"({"run":1})").status, 200);
  EXPECT_FALSE(m_bench.world.isFull);
  EXPECT_EQ(Post("stop", R"({"run":1})").status, 404);
}

TEST_F(Faults, StopByTheirNameAndParameters) {
  Post("start", R"({"fault":"refuse-uploads","params":{"kind":"realdata"}})");
  Post("start", R"({"fault":"fill-card"})");

  EXPECT_EQ(Post("stop", R"({"fault":"refuse-uploads","params":{"kind":"calldata"}})").status, 404);
  EXPECT_EQ(Post("stop", R"({"fault":"refuse-uploads","params":{"kind":"realdata"}})").status, 200);

  EXPECT_TRUE(m_bench.world.standing.empty());
  EXPECT_TRUE(m_bench.world.isFull);
}

TEST_F(Faults, AreRecordedByTheirName) {
  Post("start", R"({"fault":"refuse-uploads","params":{"kind":"realdata"}})");

  EXPECT_EQ(m_faults.Lasting("/api/faults/stop", R"({"run":1})"),
            R"({"fault":"refuse-uploads","params":{"kind":"realdata"}})");
  EXPECT_EQ(m_faults.Lasting("/api/faults/stop", R"({"run":2})"), R"({"run":2})");
  EXPECT_EQ(m_faults.Lasting("/api/other", R"({"run":1})"), R"({"run":1})");
}

TEST_F(Faults, SayWhatKeepsOneFromBeginning) {
  m_bench.trouble = "the acquisition side does not run";

  const Reply reply = Post("start", R"({"fault":"alarm-burst"})");

  EXPECT_EQ(reply.status, 409);
  EXPECT_EQ(reply.body, R"({"error":"it cannot begin: the acquisition side does not run"})");
}

TEST_F(Faults, SayThatOneCannotBeKeptUpJustNow) {
  Post("start", R"({"fault":"fill-card"})");
  m_bench.trouble = "the card cannot be read";
  Pass(5);
  EXPECT_THAT(State(), HasSubstr("cannot be kept up just now: the card cannot be read"));
  EXPECT_THAT(State(), HasSubstr(R"("state":"active")"));

  m_bench.trouble.clear();
  Pass(5);
  EXPECT_THAT(State(), Not(HasSubstr("cannot be kept up")));
}

TEST_F(Faults, RefuseACallThatMakesNoSense) {
  for (const char* body :
       {R"({})", R"({"fault":7})", R"({"fault":"rain"})", R"({"fault":"stall","seconds":0})",
        R"({"fault":"stall","seconds":"x"})", R"({"fault":"stall","params":{"seconds":0}})",
        R"({"fault":"stall","seconds":1e300})"}) {
    EXPECT_EQ(Post("start", body).status, 400) << body;
  }
  EXPECT_EQ(Post("stop", R"({})").status, 400);
  EXPECT_EQ(Post("random", R"({"minutes":5})").status, 400);
  EXPECT_TRUE(m_bench.orders.empty());
}

TEST_F(Faults, DoNotDisturbTheSameTwice) {
  Post("start", R"({"fault":"stall"})");

  EXPECT_EQ(Post("start", R"({"fault":"reset"})").status, 409);
  EXPECT_EQ(m_bench.world.standing["realdata"], "stall:45");
  EXPECT_EQ(Post("start", R"({"fault":"lock-ledger"})").status, 200);
}

TEST_F(Faults, DoNotDisturbWhatIsNotPutRightYet) {
  Post("start", R"({"fault":"fill-card"})");
  m_bench.trouble = "the card cannot be read";
  Post("stop", R"({"run":1})");
  m_bench.trouble.clear();

  const Reply refused = Post("start", R"({"fault":"fill-card"})");
  EXPECT_EQ(refused.status, 409);
  EXPECT_THAT(refused.body, HasSubstr("'Fill the card', which is not put right yet"));

  Pass(1);
  EXPECT_EQ(Post("start", R"({"fault":"fill-card"})").status, 200);
}

TEST_F(Faults, LastLongEnoughToBeSeenAtAHighSpeed) {
  m_bench.world.speed = 60;

  EXPECT_THAT(Post("start", R"({"fault":"fill-card","seconds":60})").body,
              HasSubstr(R"("ends_unix_s":1700000360)"));
}

TEST_F(Faults, AreAllPutRightByOneCall) {
  for (const char* fault : {"refuse-uploads", "redirect", "empty-segment", "lock-ledger",
                            "fill-card", "speed", "step-clock"}) {
    EXPECT_EQ(Post("start", R"({"fault":")" + std::string(fault) + "\"}").status, 200) << fault;
  }
  Post("random", R"({"minutes":10,"seed":1})");

  EXPECT_EQ(Post("off", "{}").status, 200);

  EXPECT_TRUE(m_bench.world == test::FakeBench::World());
  EXPECT_THAT(State(), HasSubstr(R"("random":null)"));
}

TEST_F(Faults, GiveTheirBandsForATrace) {
  Post("start", R"({"fault":"fill-card"})");
  Pass(180);
  Post("start", R"({"fault":"speed"})");

  const auto all = m_faults.Bands(1700000100, 1700000300);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].title, "Fill the card");
  EXPECT_EQ(all[0].to, 1700000180);
  EXPECT_EQ(all[1].to, std::nullopt);
  EXPECT_EQ(m_faults.Bands(1700000190, 1700000300).size(), 1u);
  EXPECT_EQ(m_faults.Bands(1699990000, 1699999999).size(), 0u);
}

TEST_F(Faults, ComeAtRandomInTheOrderOfTheirSeed) {
  const auto play = [](std::uint32_t seed) {
    test::FakeBench bench;
    console::Faults faults(bench);
    Seen seen;
    seen.now = 1700000000;
    seen.logged = [](std::string_view, std::time_t) { return false; };
    faults.Look(seen);
    faults.StartRandom(600, seed);
    std::string titles;
    for (int i = 0; i < 7200; ++i) {
      seen.now += 5;
      seen.elapsed += 5;
      seen.real += 0.5;
      faults.Look(seen);
    }
    for (const auto& band : faults.Bands(0, seen.now)) titles += band.title + ", ";
    return titles;
  };

  EXPECT_EQ(play(1), play(1));
  EXPECT_NE(play(1), play(2));
  EXPECT_GT(play(1).size(), 100u);
  EXPECT_THAT(play(1), Not(HasSubstr("Step the clock")));
}

TEST_F(Faults, AreOverWhenTheRandomTimeIs) {
  Post("random", R"({"minutes":60,"seed":3})");
  EXPECT_EQ(Post("random", R"({"minutes":60,"seed":3})").status, 409);
  EXPECT_THAT(State(), HasSubstr(R"("random":{"until_unix_s":1700003600,"seed":3})"));

  for (int i = 0; i < 720; ++i) Pass(5);

  EXPECT_TRUE(m_bench.world == test::FakeBench::World());
  EXPECT_THAT(State(), HasSubstr(R"("random":null)"));
  EXPECT_THAT(State(), Not(HasSubstr(R"("state":"active")")));
  EXPECT_THAT(console::AnswerGet(m_router, "/api/faults/report", {}).body,
              HasSubstr(R"("random":{"seed":3,"minutes":60.0,"started_unix_s":1700000000})"));
}

TEST_F(Faults, ReportTheirVerdictsAndTheAccount) {
  m_seen.total.produced = 12;
  Post("start", R"({"fault":"fill-card"})");
  for (int i = 0; i < 70; ++i) Pass(30);

  const Reply report = console::AnswerGet(m_router, "/api/faults/report", {});

  EXPECT_EQ(report.downloadName, "bench-report.json");
  EXPECT_THAT(report.body, HasSubstr(R"("ended":1,"not_as_expected":1,)"));
  EXPECT_THAT(report.body, HasSubstr(R"("account":{"total":{"produced":12,)"));
  EXPECT_THAT(report.body, HasSubstr(R"("runs":[{"run":1,"fault":"fill-card")"));
}

}  // namespace
