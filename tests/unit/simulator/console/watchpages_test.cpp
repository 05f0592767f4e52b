// Ledger, card, traces and metrics of the watch.
#include "console/watch/pages.h"
#include "unit/simulator/console/watchfixture.h"

namespace test {
namespace {

using console::Watcher;
using testing::HasSubstr;

class WatchPages : public WatchTest {};

TEST_F(WatchPages, PagesTheLedgerNewestFirst) {
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307115800"), kRealDataFile, 1);
  Insert(ledger, RealName("20240307115900"));
  Insert(ledger, "alarmdata/7/T20240307115930.tar.gz", kAlarmDataFile);
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto first = Ask(watcher, "/api/ledger", {{"limit", "2"}});
  ASSERT_EQ(first["rows"].Size(), 2U);
  EXPECT_STREQ(first["rows"][0]["name"].GetString(), "T20240307115930.tar.gz");
  EXPECT_STREQ(first["rows"][1]["name"].GetString(), "S20240307115900.tar.gz");

  const auto next = Ask(watcher, "/api/ledger",
                        {{"limit", "2"}, {"before", std::to_string(first["next"].GetInt64())}});
  ASSERT_EQ(next["rows"].Size(), 1U);
  EXPECT_TRUE(next["rows"][0]["accepted"].GetBool());
  EXPECT_TRUE(next["next"].IsNull());

  const auto pending = Ask(watcher, "/api/ledger", {{"kind", "realdata"}, {"state", "pending"}});
  ASSERT_EQ(pending["rows"].Size(), 1U);
  EXPECT_STREQ(pending["rows"][0]["name"].GetString(), "S20240307115900.tar.gz");
}

TEST_F(WatchPages, CountsRowsByAge) {
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307115900"));
  Insert(ledger, "realdata/5/S20240305120000.tar.gz", kRealDataFile, 1);
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto card = Ask(watcher, "/api/card");

  EXPECT_STREQ(card["ledger"]["state"].GetString(), "good");
  const auto& rows = card["rows"];
  EXPECT_STREQ(rows[0]["age"].GetString(), "under an hour");
  EXPECT_EQ(rows[0]["pending"].GetInt(), 1);
  EXPECT_STREQ(rows[1]["age"].GetString(), "under 7 days");
  EXPECT_EQ(rows[1]["accepted"].GetInt(), 1);
}

TEST_F(WatchPages, SaysWhatIsWrongWithAForeignLedger) {
  WriteFile(paths::kLedger, std::string(5000, 'x'));
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto card = Ask(watcher, "/api/card");

  EXPECT_STREQ(card["ledger"]["state"].GetString(), "foreign");
  EXPECT_STRNE(card["ledger"]["detail"].GetString(), "");
}

TEST(CardPage, SaysWhyTheSpaceIsNotKnown) {
  console::Scene scene;
  const auto trouble = [&scene] {
    rapidjson::Document card;
    card.Parse(console::ReplyCard(console::Account(), scene).body.c_str());
    return std::string(card["space_trouble"].GetString());
  };
  scene.card.space = status::Known(status::Space());
  EXPECT_EQ(trouble(), "");

  scene.card.space = status::Unknown<status::Space>("nothing is mounted");
  EXPECT_EQ(trouble(), "nothing is mounted");

  scene.isFolderCard = true;
  EXPECT_EQ(trouble(), "the card is a folder of this machine (BRENNIK_SANDBOX_KEEP)");
}

TEST_F(WatchPages, TracesAFileFromSnapshotToAcceptance) {
  m_sources.faults = [](std::time_t from, std::time_t) {
    return std::vector<console::FaultBand>{{"Refuse uploads", from + 5, std::nullopt}};
  };
  const std::time_t noon = LocalTimeOf(2024, 3, 7, 12);
  const std::string archive = std::string(paths::kRealData) + "/7/S20240307120000.tar.gz";
  DatabaseFile ledger = MakeLedger();
  SetTime(noon + 2);
  Log("CreateRealDataJsonFile " + archive + " Success");
  Insert(ledger, RealName("20240307120000"));
  Watcher watcher(m_sources);
  SetTime(noon + 3);
  LookOnce(watcher);
  SetTime(noon + 30);
  Log("start Send realdata " + archive + " to http://127.0.0.1:8080");
  SetTime(noon + 31);
  Arrive("S20240307120000.tar.gz", false);
  SetTime(noon + 60);
  Log("start Send realdata " + archive + " to http://127.0.0.1:8080");
  SetTime(noon + 61);
  Arrive("S20240307120000.tar.gz", true);
  LookOnce(watcher);

  const auto json = Ask(watcher, "/api/trace", {{"name", "S20240307120000.tar.gz"}});

  std::string spans;
  for (const auto& span : json["spans"].GetArray()) {
    spans += util::Format("%s %ld-%ld%s, ", span["id"].GetString(),
                          static_cast<long>(span["from_unix_s"].GetInt64() - noon),
                          static_cast<long>(span["to_unix_s"].GetInt64() - noon),
                          span["good"].GetBool() ? "" : "!");
  }
  EXPECT_EQ(spans,
            "snapshot 0-0, pack 0-2, recorded 2-3, wait 3-30, upload 30-31!, upload 60-61, "
            "accepted 61-61, ");
  EXPECT_STREQ(json["faults"][0]["title"].GetString(), "Refuse uploads");
}

TEST_F(WatchPages, TracesAFileThatWaits) {
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307120000"));
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto json = Ask(watcher, "/api/trace", {{"name", "S20240307120000.tar.gz"}});

  const auto& last = json["spans"][json["spans"].Size() - 1];
  EXPECT_STREQ(last["id"].GetString(), "wait");
  EXPECT_TRUE(last["to_unix_s"].IsNull());
}

TEST_F(WatchPages, TracesAnUploadThatIsUnderWay) {
  const std::string name = "S20240307120000.tar.gz";
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307120000"));
  Log("start Send realdata " + std::string(paths::kRealData) + "/7/" + name + " to x");
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto json = Ask(watcher, "/api/trace", {{"name", name}});

  const auto& last = json["spans"][json["spans"].Size() - 1];
  EXPECT_STREQ(last["id"].GetString(), "upload");
  EXPECT_EQ(last["from_unix_s"].GetInt64(), std::time(nullptr));
  EXPECT_TRUE(last["to_unix_s"].IsNull());
}

TEST_F(WatchPages, TracesARefusedFileThatWaitsAgain) {
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307120000"));
  Arrive("S20240307120000.tar.gz", false);
  m_arrivals.back().verdict = "refused";
  Watcher watcher(m_sources);
  LookOnce(watcher);

  const auto json = Ask(watcher, "/api/trace", {{"name", "S20240307120000.tar.gz"}});

  const auto& spans = json["spans"];
  ASSERT_GE(spans.Size(), 2U);
  EXPECT_STREQ(spans[spans.Size() - 2]["text"].GetString(), "attempt 1, refused");
  EXPECT_STREQ(spans[spans.Size() - 1]["id"].GetString(), "wait");
  EXPECT_TRUE(spans[spans.Size() - 1]["to_unix_s"].IsNull());
}

TEST_F(WatchPages, TracesAFileThatWasJudgedSent) {
  const std::string archive = std::string(paths::kRealData) + "/7/S20240307120000.tar.gz";
  DatabaseFile ledger = MakeLedger();
  Insert(ledger, RealName("20240307120000"), kRealDataFile, 1);
  Log("Can not find File " + archive + " when send files,judge it send OK", "WARN");
  Watcher watcher(m_sources);
  LookOften(watcher);

  const auto json = Ask(watcher, "/api/trace", {{"name", "S20240307120000.tar.gz"}});

  const auto& last = json["spans"][json["spans"].Size() - 1];
  EXPECT_STREQ(last["title"].GetString(), "Not sent");
  EXPECT_FALSE(last["good"].GetBool());
}

TEST_F(WatchPages, RefusesATraceOfAnUnknownFile) {
  Watcher watcher(m_sources);
  console::Router router;
  watcher.AddRoutes(router);

  const auto& trace = router.Gets().at("/api/trace");

  EXPECT_EQ(trace({.query = {{"name", "S20240307120000.tar.gz"}}}).status, 404);
  EXPECT_EQ(trace({.query = {{"name", "../x"}}}).status, 400);
}

TEST_F(WatchPages, GivesTheFiguresAsMetrics) {
  SetTime(LocalTimeOf(2024, 3, 7, 12));
  DatabaseFile ledger = MakeLedger();
  for (const char* stamp : {"20240307115500", "20240307115900"}) Insert(ledger, RealName(stamp));
  m_sources.figures = [] {
    return console::BenchFigures{.speed = 2.5, .stepped = -60, .faults = 2, .streams = 4};
  };
  Watcher watcher(m_sources);
  LookOnce(watcher);
  console::Router router;
  watcher.AddRoutes(router);

  const console::Reply reply = router.Gets().at("/metrics")({});

  EXPECT_THAT(reply.type, HasSubstr("version=0.0.4"));
  EXPECT_THAT(reply.body,
              HasSubstr("\nbrennik_bench_files{kind=\"realdata\",state=\"pending\"} 2\n"));
  EXPECT_THAT(reply.body, HasSubstr("\nbrennik_bench_process_up{name=\"service\"} 1\n"));
  EXPECT_THAT(reply.body, HasSubstr("\nbrennik_bench_files_produced{kind=\"realdata\"} 2\n"));
  EXPECT_THAT(reply.body,
              HasSubstr("\nbrennik_bench_files_lost_unrecorded{kind=\"alarmdata\"} 0\n"));
  for (const char* line : {"files_never_made 3", "gaps 1", "clock_speed 2.5",
                           "clock_stepped_seconds -60", "faults_active 2", "event_streams 4"}) {
    EXPECT_THAT(reply.body, HasSubstr(std::string("\nbrennik_bench_") + line + "\n"));
  }
}

}  // namespace
}  // namespace test
