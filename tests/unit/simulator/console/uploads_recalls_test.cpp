// Recalls that the page orders, through a real cloud.
#include "console/uploads/recalldocument.h"
#include "uploadsfixture.h"

namespace {

using namespace test;
using cloud::Behaviour;
using cloud::Endpoint;
using cloud::Simulator;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr char kWish[] =
    R"({"points":["1/3:0001","2/1:00AB","1/3:0101"],"from":"2024-03-07 11:00","to":"2024-03-07 11:01"})";

std::string RecallDocumentOf(int id) {
  return R"({"sn":"S1","id":)" + std::to_string(id) +
         R"(,"data":[{"groupId":1,"eqpId":3,"pointId":"0001","flag":1,"values":[)"
         R"({"timeMark":"2024-03-07 11:00:00","value":"12.500"},)"
         R"({"timeMark":"2024-03-07 11:01:00","value":"-1.000"}]},)"
         R"({"groupId":1,"eqpId":3,"pointId":"0101","flag":0,"values":[]},)"
         R"({"groupId":2,"eqpId":1,"pointId":"00AB","flag":0,"values":[]}]})";
}

struct Recalls : UploadsTest {
  void SetUp() override {
    UploadsTest::SetUp();
    control.emplace(kControl, [this](const auto& order, auto& answer) {
      cloud::CarryOut(cloud, order, answer);
    });
  }
  std::string UploadOfRecall(int id, const std::string& stamp) {
    return UploadOf("/eqpapi/EqpDataRecall", "R" + stamp, RecallDocumentOf(id));
  }
  // The only recall of the list.
  rapidjson::Document Only() {
    rapidjson::Document list = Ask("/api/recalls");
    EXPECT_EQ(list["recalls"].Size(), 1U);
    rapidjson::Document only;
    only.CopyFrom(list["recalls"][0], only.GetAllocator());
    return only;
  }

  Simulator cloud{{.indexFile = kIndex}};
  std::optional<program::ControlServer> control;
};

TEST_F(Recalls, AreFollowedFromTheOrderToTheAcceptedFile) {
  EXPECT_THAT(Post("/api/recalls", kWish).body, HasSubstr("\"id\":1"));
  EXPECT_EQ(Only()["ordered_unix_s"].GetInt64(), std::time(nullptr));
  EXPECT_TRUE(Only()["polled_unix_s"].IsNull());

  Send(cloud, RecallCheck());
  EXPECT_EQ(Only()["polled_unix_s"].GetInt64(), std::time(nullptr));
  EXPECT_TRUE(Only()["file"].IsNull());

  cloud.Script(Endpoint::kCallData, {Behaviour::Refuse()});
  Send(cloud, UploadOfRecall(1, "20240307120010"));
  EXPECT_STREQ(Only()["file"].GetString(), "R20240307120010.tar.gz");
  EXPECT_EQ(Only()["packed_unix_s"].GetInt64(), LocalTimeOf(2024, 3, 7, 12, 0, 10));
  EXPECT_TRUE(Only()["accepted_unix_s"].IsNull());

  Send(cloud, UploadOfRecall(1, "20240307120110"));
  const auto done = Only();
  EXPECT_STREQ(done["file"].GetString(), "R20240307120110.tar.gz");
  EXPECT_EQ(done["accepted_unix_s"].GetInt64(), std::time(nullptr));
  EXPECT_EQ(done["upload_id"].GetInt(), 3);
  EXPECT_STREQ(done["points"][1].GetString(), "2/1:00AB");
  EXPECT_STREQ(done["from"].GetString(), "2024-03-07 11:00:00");
}

TEST_F(Recalls, ShowTheirValuesAndFlags) {
  Post("/api/recalls", kWish);
  Send(cloud, RecallCheck());
  Send(cloud, UploadOfRecall(1, "20240307120010"));

  const auto one = Ask("/api/recalls/one", {{"id", "1"}});

  EXPECT_THAT(TextsOf(one["series"], "id"), ElementsAre("1/3:0001", "1/3:0101", "2/1:00AB"));
  EXPECT_THAT(TextsOf(one["series"], "name"), ElementsAre("Level", "Running", ""));
  EXPECT_THAT(TextsOf(one["series"], "flag"), ElementsAre("1", "0", "0"));
  const auto& values = one["series"][0]["values"];
  ASSERT_EQ(values.Size(), 2U);
  EXPECT_EQ(values[1][0].GetInt64(), LocalTimeOf(2024, 3, 7, 11, 1));
  EXPECT_EQ(values[1][1].GetDouble(), -1.0);
}

TEST_F(Recalls, ListTheOrdersOfOthersAndTakeFreeNumbers) {
  cloud.Order(cloud::ParseOrder("7:1/3:0001@2024-03-07 10:00:00..2024-03-07 10:01:00"));
  Send(cloud, RecallCheck());
  cloud.Order(cloud::ParseOrder("9:1/3:0001@2024-03-07 10:00:00..2024-03-07 10:01:00"));

  EXPECT_THAT(Post("/api/recalls", kWish).body, HasSubstr("\"id\":10"));

  const auto list = Ask("/api/recalls");
  EXPECT_THAT(TextsOf(list["recalls"], "id"), ElementsAre("10", "7"));
  EXPECT_STREQ(list["recalls"][1]["points"][0].GetString(), "1/3:0001");
  EXPECT_STREQ(list["recalls"][1]["from"].GetString(), "2024-03-07 10:00:00");
}

TEST_F(Recalls, LeaveTheNumbersOfFaultsToThem) {
  cloud.Order(cloud::ParseOrder("900000005:1/3:0001@2024-03-07 10:00:00..2024-03-07 10:01:00"));
  Send(cloud, RecallCheck());
  cloud.Order(cloud::ParseOrder("900000006:1/3:0001@2024-03-07 10:00:00..2024-03-07 10:01:00"));

  EXPECT_THAT(Post("/api/recalls", kWish).body, HasSubstr("\"id\":1}"));
}

TEST_F(Recalls, FindAFileOnTheCardThatHasNotReachedTheCloud) {
  Post("/api/recalls", kWish);
  Send(cloud, RecallCheck());
  WriteFile(std::string(paths::kCallData) + "/R20240307120009.tar.gz",
            Archive("R20240307120009.dat", RecallDocumentOf(2)));
  WriteFile(std::string(paths::kCallData) + "/R20240307120007.tar.gz",
            Archive("R20240307120007.dat", RecallDocumentOf(1)));

  EXPECT_STREQ(Only()["file"].GetString(), "R20240307120007.tar.gz");
  EXPECT_EQ(Only()["packed_unix_s"].GetInt64(), LocalTimeOf(2024, 3, 7, 12, 0, 7));
}

// The answer was cut short on its way: the service has no order.
TEST_F(Recalls, AreNotPolledByAnAnswerThatDidNotArrive) {
  Post("/api/recalls", kWish);
  cloud.Script(Endpoint::kRecallCheck, {Behaviour::Cut()});

  Send(cloud, RecallCheck());

  EXPECT_TRUE(Only()["polled_unix_s"].IsNull());
}

TEST_F(Recalls, AreNotOrderedFromAWishThatMakesNoSense) {
  const std::vector<std::pair<std::string, const char*>> rows = {
      {R"({"points":[],"from":"2024-03-07 11:00","to":"2024-03-07 11:01"})", "1 to 20 points"},
      {R"({"points":["1/3"],"from":"2024-03-07 11:00","to":"2024-03-07 11:01"})", "not a point"},
      {R"({"points":["1/300:1"],"from":"2024-03-07 11:00","to":"2024-03-07 11:01"})",
       "not a point"},
      {R"({"points":["1/3:0001"],"from":"now","to":"2024-03-07 11:01"})",
       "\\\"from\\\" is not a time"},
      {R"({"points":["1/3:0001"],"from":"2024-03-07 11:00"})", "\\\"to\\\" is not a time"},
      {R"({"points":["1/3:0001"],"from":"2024-03-07 11:02","to":"2024-03-07 11:01"})",
       "ends before"}};
  for (const auto& [wish, fragment] : rows) {
    const console::Reply reply = Post("/api/recalls", wish);
    EXPECT_EQ(reply.status, 400) << wish;
    EXPECT_THAT(reply.body, HasSubstr(fragment));
  }
  control->Stop();
  EXPECT_EQ(Post("/api/recalls", kWish).status, 503);
  EXPECT_EQ(Ask("/api/recalls")["recalls"].Size(), 0U);
}

TEST(RecallDocuments, AreReadAsFarAsTheyAreSound) {
  const std::string sound = RecallDocumentOf(7);

  EXPECT_EQ(
      console::ReadRecallDocument(sound.substr(0, sound.rfind("{\"groupId\":2"))).series.size(),
      2U);
  EXPECT_TRUE(console::ReadRecallDocument(std::string(1'000'000, '[')).series.empty());
  EXPECT_TRUE(
      console::ReadRecallDocument(Replaced(sound, "12.500", "nan")).series[0].values.size() == 1);
}

}  // namespace
