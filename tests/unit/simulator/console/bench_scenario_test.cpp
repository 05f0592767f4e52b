// Scenario files: reading, conditions, playing, recording.
#include "console/bench/scenario.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "console/bench/placeholders.h"
#include "console/bench/player.h"
#include "console/bench/recorder.h"
#include "util/timetext.h"

namespace {

using console::Clock;
using console::Condition;
using console::ParseScenario;
using console::Reply;
using console::Scenario;
using console::Step;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr char kState[] =
    R"({"account":{"total":{"pending":2,"lost":0}},"processes":[{"name":"service","pid":null}],)"
    R"("cloud":{"at":{"127.0.0.2":1,"127.0.0":9}},"normal":true})";

TEST(Scenario, TakesTheOptionsOfBothSimulators) {
  const Scenario scenario = ParseScenario(
      "# a comment\n\nstart --event-interval 0 --no-history\ncloud --order \"7:1/1:0001@a b\"\nsay "
      "x");

  EXPECT_THAT(scenario.acquisition, ElementsAre("--event-interval", "0", "--no-history"));
  EXPECT_THAT(scenario.cloud, ElementsAre("--order", "7:1/1:0001@a b"));
}

TEST(Scenario, NamesTheLineThatMakesNoSense) {
  for (const char* line :
       {"dance", "post /api/x", "post /else {}", "post /api/x [1]", "wait", "wait x a == 1",
        "wait -1 a == 1", "wait 1 a = 1", "expect a", "expect a > word", "pause", "speed fast",
        "show everything", "start --burst 1"}) {
    try {
      ParseScenario("say first\n" + std::string(line));
      ADD_FAILURE() << line;
    } catch (const std::invalid_argument& error) {
      EXPECT_THAT(error.what(), ::testing::StartsWith("line 2: ")) << line;
    }
  }
}

TEST(Scenario, RefusesAFileWithoutSteps) {
  EXPECT_THROW(ParseScenario("# nothing\n"), std::invalid_argument);
}

struct Row {
  const char* condition;
  bool holds;
};

class ScenarioCondition : public ::testing::TestWithParam<Row> {};

TEST_P(ScenarioCondition, LooksIntoTheState) {
  rapidjson::Document state;
  state.Parse(kState);

  EXPECT_EQ(Condition(GetParam().condition).Check(state).holds, GetParam().holds);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ScenarioCondition,
    ::testing::Values(
        Row{"account.total.pending == 2", true}, Row{"account.total.pending == 1", false},
        Row{"account.total.pending != 1", true}, Row{"account.total.pending != 2", false},
        Row{"account.total.pending >= 2", true}, Row{"account.total.pending >= 3", false},
        Row{"account.total.pending <= 2", true}, Row{"account.total.pending <= 1", false},
        Row{"account.total.pending > 1", true}, Row{"account.total.pending > 2", false},
        Row{"account.total.pending < 3", true}, Row{"account.total.pending < 2", false},
        Row{"processes.0.name == service", true}, Row{"processes.0.name == \"cloud\"", false},
        Row{"processes.0.pid == null", true}, Row{"processes.1.name == service", false},
        Row{"processes.first.name == service", false}, Row{"normal == true", true},
        Row{"cloud.at.127.0.0.2 == 1", true}, Row{"cloud.at.127.0.0 == 9", true},
        Row{"cloud.at.127.0.0.3 == null", true}, Row{"cloud.at.127.0.0.3 == 0", false},
        Row{"account.total.none >= 0", false}, Row{"account.total > 0", false}));

// A scenario on a stage without a gateway. A pause takes the time on.
class ScenarioPlayer : public ::testing::Test {
 protected:
  bool Play(const std::string& text) {
    console::PlayTools tools;
    tools.post = [this](const std::string& path, const std::string& json) {
      m_posts.push_back(path + " " + json);
      return m_reply;
    };
    tools.state = [this] { return m_seconds < m_changesAt ? "{\"a\":1}" : "{\"a\":2}"; };
    tools.now = [] { return std::time_t{1'700'000'000}; };
    tools.elapsed = [this] { return m_seconds; };
    tools.say = [this](const std::string& line) { m_said.push_back(line); };
    tools.show = [this](const std::string& kind) { m_said.push_back("show " + kind); };
    tools.pause = [this](std::chrono::milliseconds limit) {
      m_seconds += std::chrono::duration<double>(limit).count() * 10;
      return m_seconds < m_endsAt;
    };
    return console::Play(ParseScenario(text), tools);
  }

  double m_seconds = 100;
  double m_changesAt = 1e9;
  double m_endsAt = 1e9;
  Reply m_reply{};
  std::vector<std::string> m_posts{};
  std::vector<std::string> m_said{};
};

TEST_F(ScenarioPlayer, DoesItsStepsInOrder) {
  EXPECT_TRUE(Play("speed 20\nsay one\npost /api/faults/off {}\nshow alarmdata\nsay two"));

  EXPECT_THAT(m_said, ElementsAre("one", "show alarmdata", "two"));
  EXPECT_THAT(m_posts, ElementsAre("/api/clock {\"speed\":20}", "/api/faults/off {}"));
}

TEST_F(ScenarioPlayer, WaitsUntilTheStateFits) {
  m_changesAt = 130;

  EXPECT_TRUE(Play("wait 60 a == 2"));

  EXPECT_NEAR(m_seconds, 130, 2);
}

TEST_F(ScenarioPlayer, FailsWhenItWaitsInVain) {
  EXPECT_FALSE(Play("say x\nwait 60 a == 2\nsay y"));

  EXPECT_THAT(m_said, ElementsAre("x", "line 2: a == 2 did not come in 60 s; it is 1"));
  EXPECT_NEAR(m_seconds, 160, 2);
}

TEST_F(ScenarioPlayer, FailsAnExpectationAtOnce) {
  EXPECT_FALSE(Play("expect a == 2"));

  EXPECT_THAT(m_said, ElementsAre("line 1: expected a == 2; it is 1"));
}

TEST_F(ScenarioPlayer, FailsAnExpectationOfWhatTheStateDoesNotHave) {
  EXPECT_FALSE(Play("expect b.c == 0"));

  EXPECT_THAT(m_said, ElementsAre("line 1: the state has no b.c"));
}

TEST_F(ScenarioPlayer, FailsAtACallThatIsRefused) {
  m_reply = console::ErrorReply(404, "There is no such fault.");

  EXPECT_FALSE(Play("post /api/faults/start {\"fault\":\"x\"}\nsay y"));

  EXPECT_THAT(m_said, ElementsAre(HasSubstr("line 1: /api/faults/start answered 404 ")));
}

TEST_F(ScenarioPlayer, PausesForGatewaySeconds) {
  EXPECT_TRUE(Play("pause 30"));

  EXPECT_NEAR(m_seconds, 130, 2);
}

TEST_F(ScenarioPlayer, GivesUpWhenAskedTo) {
  m_endsAt = 110;

  EXPECT_FALSE(Play("pause 30"));
  EXPECT_FALSE(Play("wait 30 a == 2"));
}

TEST_F(ScenarioPlayer, CountsTimesBackFromNow) {
  const std::string ago = util::TimeMark(*util::LocalTime(1'700'000'000 - 40 * 60))
                              .substr(0, sizeof("2026-11-22 10:00") - 1);

  EXPECT_TRUE(Play("post /api/recalls {\"from\":\"<40 minutes ago>\"}"));

  EXPECT_THAT(m_posts, ElementsAre("/api/recalls {\"from\":\"" + ago + "\"}"));
}

class ScenarioRecorder : public ::testing::Test {
 protected:
  void SetUp() override { m_recorder.AddRoutes(m_router); }
  Reply Record(const char* json) {
    rapidjson::Document body;
    body.Parse(json);
    return m_router.Posts().at("/api/scenario/record")({.query = {}, .body = &body});
  }
  std::string File() { return m_router.Gets().at("/api/scenario/file")({}).body; }

  Clock m_clock{"/tmp/clock", 1'700'000'000, 1};
  console::Recorder m_recorder{m_clock, [] { return "http://127.0.0.1:4711"; },
                               [](const std::string& path, const std::string& json) {
                                 return path == "/api/stop" ? R"({"name":"x"})" : json;
                               },
                               "start --event-interval=60\n"};
  console::Router m_router{};
};

TEST_F(ScenarioRecorder, WritesAFileThatCanBePlayed) {
  const std::string time = util::TimeMark(*util::LocalTime(1'700'000'000 - 40 * 60)).substr(0, 16);
  Record("{\"on\":true}");

  m_recorder.Note("/api/recalls", "{\n \"from\": \"" + time + "\"}");
  m_recorder.Note("/api/faults/off", "{}");

  EXPECT_THAT(File(), HasSubstr("\npost /api/recalls {\"from\":\"<40 minutes ago>\"}\n"
                                "post /api/faults/off {}\n"));
  EXPECT_EQ(ParseScenario(File()).steps.size(), 3);
}

TEST_F(ScenarioRecorder, WritesWhatLasts) {
  Record("{\"on\":true}");

  m_recorder.Note("/api/stop", "{\"run\":3}");

  EXPECT_THAT(File(), HasSubstr("\npost /api/stop {\"name\":\"x\"}\n"));
}

TEST_F(ScenarioRecorder, RecordsOnlyWhileItIsOn) {
  m_recorder.Note("/api/before", "{}");
  Record("{\"on\":true}");
  m_recorder.Note("/api/scenario/record", "{\"on\":true}");
  Record("{\"on\":false}");
  m_recorder.Note("/api/after", "{}");

  EXPECT_EQ(File(), "# Recorded on the bench console.\nstart --event-interval=60\nspeed 1\n");
}

TEST_F(ScenarioRecorder, BeginsWithTheBenchAsItWas) {
  m_clock.SetSpeed(20);
  Record("{\"on\":true}");
  m_clock.SetSpeed(5);
  m_recorder.Note("/api/clock", "{\"speed\":5}");

  EXPECT_THAT(File(), HasSubstr("\nspeed 20\npost /api/clock {\"speed\":5}\n"));
  EXPECT_THAT(ParseScenario(File()).acquisition, ElementsAre("--event-interval=60"));
}

TEST_F(ScenarioRecorder, ShowsTheLastCallAsACurlLine) {
  m_recorder.Note("/api/x", "{\"text\":\"it's\"}");

  const std::string state = console::JsonReply([this](console::JsonWriter& json) {
                              json.StartObject();
                              m_recorder.WriteState(json);
                              json.EndObject();
                            }).body;
  rapidjson::Document json;
  json.Parse(state.c_str());
  EXPECT_STREQ(json["scenario"]["last_curl"].GetString(),
               "curl -H 'Content-Type: application/json' -d '{\"text\":\"it'\\''s\"}' "
               "http://127.0.0.1:4711/api/x");
}

TEST_F(ScenarioRecorder, RefusesACallWithoutOn) {
  EXPECT_EQ(Record("{\"on\":1}").status, 400);
}

}  // namespace
