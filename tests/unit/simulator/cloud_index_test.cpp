// The index on disk of what the cloud was asked.
#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "cloudclient.h"
#include "util/sqlite.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using cloud::Simulator;
using namespace test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr char kFolder[] = "/tmp/index";
constexpr char kFile[] = "/tmp/index/index.db";

struct CloudIndex : testing::Test {
  void SetUp() override {
    Empty(kFolder);
    std::filesystem::create_directories(kFolder);
  }
};

// The rows of a query, columns separated by "|".
std::vector<std::string> Rows(const std::string& query, int columns) {
  util::Database database(kFile, util::Database::Missing::kFails);
  util::Statement statement = database.Prepare(query);
  std::vector<std::string> rows;
  while (statement.NextRow()) {
    std::string row;
    for (int i = 0; i < columns; ++i) {
      row += (i > 0 ? "|" : "") + std::string(statement.Text(i));
    }
    rows.push_back(row);
  }
  return rows;
}

TEST_F(CloudIndex, HasARowForEachExchangeWithWhatItCarried) {
  Simulator simulator({.indexFile = kFile, .orders = {{.id = 7}}});

  Ask(simulator.Port(), Login());
  Ask(simulator.Port(), RecallCheck());
  Ask(simulator.Port(), RealUpload());
  Ask(simulator.Port(), RecallUpload());
  Ask(simulator.Port(), "GET /other HTTP/1.1\r\n\r\n");

  EXPECT_THAT(Rows("SELECT id, endpoint, address, name, stamp, attempt, accepted, devices, points, "
                   "order_id, member, answer_status FROM exchange ORDER BY id",
                   12),
              ElementsAre("1|authorize|127.0.0.1||||1|0|0|||200",
                          "2|recall-check|127.0.0.1||||1|0|0|7||200",
                          "3|realdata|127.0.0.1|S20240301100000.tar.gz|20240301100000|1|1|2|2||"
                          "S20240301100000.dat|200",
                          "4|calldata|127.0.0.1|R20240301100000.tar.gz|20240301100000|1|0|2|2|7|"
                          "R20240301100000.dat|200",
                          "5||127.0.0.1||||0|0|0|||404"));
  EXPECT_THAT(Rows("SELECT body, answer FROM exchange WHERE id = 1", 2),
              ElementsAre("{\"sn\":\"S1\",\"applyType\":0}|"
                          "{\"status\":0,\"message\":\"ok\",\"data\":[{\"seqStatus\":0}]}"));
  EXPECT_THAT(
      Rows("SELECT head, parts, checks, verdict FROM exchange WHERE id = 3", 4).at(0),
      testing::AllOf(HasSubstr("POST /eqpapi/EqpUploadDataInfo HTTP/1.1\nHost: 127.0.0.1\n"),
                     HasSubstr(R"([{"name":"licence","filename":"S20240301100000.tar.gz",)"),
                     HasSubstr(R"({"name":"Document","passed":true,"text":")"),
                     HasSubstr("|accepted")));
}

TEST_F(CloudIndex, CountsTheAttemptsOfAFileAndKeepsEachArchive) {
  const std::string upload = RealUpload();
  const std::string archive = Archive("S20240301100000.dat", RealDocument());
  {
    Simulator simulator(
        {.indexFile = kFile, .scripts = {{Endpoint::kRealData, {Behaviour::Refuse()}}}});
    Ask(simulator.Port(), upload);
  }
  Simulator simulator({.indexFile = kFile});
  Ask(simulator.Port(), upload);
  Ask(simulator.Port(), AlarmUpload());

  EXPECT_THAT(
      Rows("SELECT name, attempt, accepted, verdict, bytes = length(archive) FROM exchange", 5),
      ElementsAre("S20240301100000.tar.gz|1|0|refused|1", "S20240301100000.tar.gz|2|1|accepted|1",
                  "T20240301100000.tar.gz|1|1|accepted|1"));
  EXPECT_THAT(Rows("SELECT count(*) FROM exchange WHERE hex(archive) LIKE '1F8B%'", 1),
              ElementsAre("3"));
}

TEST_F(CloudIndex, IsWrittenWhileAnotherProgramReadsIt) {
  Simulator simulator({.indexFile = kFile});
  Ask(simulator.Port(), Login());
  util::Database reader(kFile, util::Database::Missing::kFails);
  util::Statement reading = reader.Prepare("SELECT id FROM exchange");
  ASSERT_TRUE(reading.NextRow());

  Ask(simulator.Port(), Login());

  EXPECT_THAT(Rows("SELECT count(*) FROM exchange", 1), ElementsAre("2"));
}

TEST_F(CloudIndex, DoesNotKeepTheCloudFromAnsweringWhenItCannotBeWritten) {
  std::filesystem::remove_all(kFolder);
  Simulator simulator({.indexFile = kFile});
  testing::internal::CaptureStderr();

  EXPECT_EQ(Ask(simulator.Port(), Login()).StatusLine(), "HTTP/1.1 200 OK");
  EXPECT_EQ(Ask(simulator.Port(), Login()).StatusLine(), "HTTP/1.1 200 OK");
  std::filesystem::create_directories(kFolder);
  EXPECT_EQ(Ask(simulator.Port(), Login()).StatusLine(), "HTTP/1.1 200 OK");

  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "cannot write the index /tmp/index/index.db: unable to open database file; "
            "exchanges are missing\nthe index /tmp/index/index.db is written again\n");
  EXPECT_THAT(Rows("SELECT count(*) FROM exchange", 1), ElementsAre("1"));
}

}  // namespace
