// Logs and explanations of the watch.
#include "unit/simulator/console/watchfixture.h"

namespace test {
namespace {

using console::Watcher;
using testing::ElementsAre;
using testing::HasSubstr;

class WatchLogs : public WatchTest {
 protected:
  static std::vector<std::string> Texts(const rapidjson::Document& json) {
    std::vector<std::string> texts;
    for (const auto& record : json["records"].GetArray())
      texts.emplace_back(record["text"].GetString());
    return texts;
  }
};

TEST_F(WatchLogs, CollapsesRepeatedRecords) {
  for (int i = 0; i < 3; ++i) {
    Log("start");
    Log("failed", "WARN");
  }
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto json = Ask(watcher, "/api/logs");

  EXPECT_THAT(Texts(json), ElementsAre("start", "failed"));
  EXPECT_EQ(json["records"][1]["count"].GetInt(), 3);
  EXPECT_EQ(json["newest"].GetInt(), 6);
}

TEST_F(WatchLogs, TellsWhichRecordARepeatReplaces) {
  Log("failed");
  Watcher watcher(m_sources);
  LookOnce(watcher);
  const long shown = Ask(watcher, "/api/logs")["records"][0]["id"].GetInt64();
  Log("failed");
  LookOnce(watcher);

  const auto json = Ask(watcher, "/api/logs", {{"after", std::to_string(shown)}});

  ASSERT_EQ(json["records"].Size(), 1U);
  EXPECT_EQ(json["records"][0]["replaces"].GetInt64(), shown);
}

TEST_F(WatchLogs, FiltersRecordsByLevelAndText) {
  Log("one");
  Log("TWO two", "WARN");
  Log("three", "ERROR");
  Watcher watcher(m_sources);
  LookOnce(watcher);

  EXPECT_THAT(Texts(Ask(watcher, "/api/logs", {{"level", "WARN"}})),
              ElementsAre("TWO two", "three"));
  EXPECT_THAT(Texts(Ask(watcher, "/api/logs", {{"text", "two T"}})), ElementsAre("TWO two"));
  EXPECT_THAT(Texts(Ask(watcher, "/api/logs", {{"limit", "1"}})), ElementsAre("three"));
  EXPECT_THAT(Texts(Ask(watcher, "/api/logs", {{"before", "2"}})), ElementsAre("one"));
}

TEST_F(WatchLogs, TellsWhatTheLevelHidesAndWhichOfItReportsAnError) {
  Log("one");
  Log("CreateRealDataJsonFile x Error, can't find id: 01030001");
  Log("no error here", "WARN");
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto all = Ask(watcher, "/api/logs");
  EXPECT_FALSE(all["records"][0]["reports_error"].GetBool());
  EXPECT_TRUE(all["records"][1]["reports_error"].GetBool());
  EXPECT_FALSE(all["records"][2]["reports_error"].GetBool());
  EXPECT_EQ(all["hidden"].GetInt(), 0);

  const auto warnings = Ask(watcher, "/api/logs", {{"level", "WARN"}, {"limit", "1"}});
  EXPECT_EQ(warnings["hidden"].GetInt(), 2);
  EXPECT_EQ(warnings["hidden_errors"].GetInt(), 1);
  EXPECT_EQ(Ask(watcher, "/api/logs", {{"level", "WARN"}, {"text", "one"}})["hidden"].GetInt(), 1);
}

TEST(LogRing, KeepsABoundedNumberOfRecords) {
  console::LogRing ring;
  status::LogRecord record;
  console::LogQuery all;
  all.limit = 10'000;
  for (int i = 0; i < 6000; ++i) {
    record.text = std::to_string(i);
    ring.Take(record);
  }
  EXPECT_EQ(ring.Find(all).size(), 5000U);
  EXPECT_EQ(ring.Find(all).back().text, "5999");

  for (int i = 0; i < 5000; ++i) {
    record.text = std::to_string(i) + std::string(4000, 'x');
    ring.Take(record);
  }

  EXPECT_LT(ring.Find(all).size() * 4000, 6U << 20);
}

TEST_F(WatchLogs, MakesControlCharactersVisible) {
  Log("a\x1b[31m\xff");
  Watcher watcher(m_sources);
  LookOnce(watcher);

  EXPECT_THAT(Texts(Ask(watcher, "/api/logs")), ElementsAre("a\\x1b[31m\\xff"));
}

TEST_F(WatchLogs, ExplainsAKnownMessage) {
  Watcher watcher(m_sources);

  const auto json = Ask(watcher, "/api/explain", {{"text", "Post Authorize Info failed"}});

  ASSERT_GE(json["messages"].Size(), 1U);
  EXPECT_THAT(json["messages"][0]["text"].GetString(), HasSubstr("Post Authorize Info failed"));
  EXPECT_STRNE(json["messages"][0]["meaning"].GetString(), "");
}

TEST_F(WatchLogs, TellsFaultsWhatWasLogged) {
  SetTime(LocalTimeOf(2024, 3, 7, 12));
  Log("Post Authorize Info failed");
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const console::Sight sight = watcher.See();

  EXPECT_TRUE(sight.logged("Authorize Info failed", LocalTimeOf(2024, 3, 7, 12)));
  EXPECT_FALSE(sight.logged("Authorize Info failed", LocalTimeOf(2024, 3, 7, 12) + 1));
}

}  // namespace
}  // namespace test
