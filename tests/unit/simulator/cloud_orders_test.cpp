// Orders of history: in which answers they stand, and what answers them.
#include <gmock/gmock.h>

#include "cloud/simulator.h"
#include "cloudclient.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using cloud::RecallOrder;
using test::RecallCheck;
using test::RecallUpload;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr char kNoOrder[] = R"({"status":0,"message":"ok","data":[]})";
constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";
constexpr std::chrono::seconds kLongEnough{10};

// What test::RecallDocument answers.
RecallOrder Order() {
  return {.id = 7,
          .devices = {{.groupId = 1,
                       .eqpId = 3,
                       .points = {{.pointId = 0x1123,
                                   .beginTime = "2024-03-01 08:00:00",
                                   .endTime = "2024-03-01 08:01:00"}}},
                      {.groupId = 300,
                       .eqpId = 3,
                       .points = {{.pointId = 0xAB,
                                   .beginTime = "2024-03-01 08:00:00",
                                   .endTime = "2024-03-01 08:01:00"}}}}};
}

RecallOrder EmptyOrder(std::int32_t id, const std::string& serialNumber = "") {
  return {.id = id, .serialNumber = serialNumber};
}

std::string ElementOf(std::int32_t id, const std::string& serialNumber) {
  return R"({"sn":")" + serialNumber + R"(","id":)" + std::to_string(id) + R"(,"devs":[]})";
}

std::string AnswerWith(const std::string& elements) {
  return R"({"status":0,"message":"ok","data":[)" + elements + "]}";
}

TEST(CloudOrders, AreGivenInFullToTheGatewayThatAsks) {
  const cloud::Simulator simulator({.orders = {Order()}});

  EXPECT_EQ(
      Ask(simulator.Port(), RecallCheck("TS1")).body,
      AnswerWith(R"({"sn":"TS1","id":7,"devs":[)"
                 R"({"groupId":"1","eqpId":"3","ids":[{"pointId":"1123",)"
                 R"("beginTime":"2024-03-01 08:00:00","endTime":"2024-03-01 08:01:00"}]},)"
                 R"({"groupId":"300","eqpId":"3","ids":[{"pointId":"00AB",)"
                 R"("beginTime":"2024-03-01 08:00:00","endTime":"2024-03-01 08:01:00"}]}]})"));
}

TEST(CloudOrders, MayBeEmpty) {
  RecallOrder order = EmptyOrder(8);
  order.devices = {{.groupId = 1, .eqpId = 3}};
  const cloud::Simulator simulator({.orders = {EmptyOrder(7), order}});

  EXPECT_EQ(Ask(simulator.Port(), RecallCheck()).body,
            AnswerWith(ElementOf(7, "S1") +
                       R"(,{"sn":"S1","id":8,"devs":[{"groupId":"1","eqpId":"3","ids":[]}]})"));
}

TEST(CloudOrders, StandInEveryAnswerUntilTheirDataAreAccepted) {
  const cloud::Simulator simulator({.orders = {Order()}});
  const std::string first = Ask(simulator.Port(), RecallCheck()).body;
  const std::string second = Ask(simulator.Port(), RecallCheck()).body;

  const std::string upload = Ask(simulator.Port(), RecallUpload()).body;

  EXPECT_THAT(first, HasSubstr("\"id\":7"));
  EXPECT_EQ(second, first);
  EXPECT_EQ(upload, kAccepted);
  EXPECT_EQ(Ask(simulator.Port(), RecallCheck()).body, kNoOrder);
  EXPECT_EQ(simulator.StandingOrders(), 0U);
}

TEST(CloudOrders, StandAfterDataThatWereNotAccepted) {
  cloud::Simulator simulator({.orders = {Order()}});
  simulator.Script(Endpoint::kCallData, {Behaviour::Refuse(), Behaviour::Cut()});

  Ask(simulator.Port(), RecallUpload());
  Ask(simulator.Port(), RecallUpload());
  Ask(simulator.Port(), RecallUpload("{}"));

  EXPECT_EQ(simulator.StandingOrders(), 1U);
}

TEST(CloudOrders, StandAfterDataOfAnotherOrder) {
  const cloud::Simulator simulator({.orders = {Order()}});

  Ask(simulator.Port(), RecallUpload(R"({"sn":"S1","id":8,"data":[]})"));

  EXPECT_EQ(simulator.StandingOrders(), 1U);
}

TEST(CloudOrders, AreRepeatedAsOftenAsAskedComeWhatMay) {
  RecallOrder order = Order();
  order.repeats = 3;
  const cloud::Simulator simulator({.orders = {order}});

  std::vector<bool> ordered;
  for (int check = 0; check < 4; ++check) {
    ordered.push_back(Ask(simulator.Port(), RecallCheck()).body != kNoOrder);
    Ask(simulator.Port(), RecallUpload());
  }

  EXPECT_THAT(ordered, ElementsAre(true, true, true, false));
}

TEST(CloudOrders, DoNotCountAnswersThatDidNotCarryThem) {
  RecallOrder order = Order();
  order.repeats = 1;
  cloud::Simulator simulator({.orders = {order}});
  simulator.Script(Endpoint::kRecallCheck, {Behaviour::Refuse(), Behaviour::Close()});

  Ask(simulator.Port(), RecallCheck());
  Ask(simulator.Port(), RecallCheck());
  Ask(simulator.Port(), RecallCheck("S1").Body("{}"));

  EXPECT_THAT(Ask(simulator.Port(), RecallCheck()).body, HasSubstr("\"id\":7"));
  EXPECT_EQ(Ask(simulator.Port(), RecallCheck()).body, kNoOrder);
}

TEST(CloudOrders, LetChecksPassFirst) {
  RecallOrder order = Order();
  order.checksBefore = 2;
  order.repeats = 1;
  const cloud::Simulator simulator({.orders = {order}});

  std::vector<bool> ordered;
  for (int check = 0; check < 4; ++check) {
    ordered.push_back(Ask(simulator.Port(), RecallCheck()).body != kNoOrder);
  }

  EXPECT_THAT(ordered, ElementsAre(false, false, true, false));
}

TEST(CloudOrders, OfOtherGatewaysStandInTheAnswerToo) {
  const cloud::Simulator simulator({.orders = {EmptyOrder(5, "S9"), EmptyOrder(6)}});

  EXPECT_EQ(Ask(simulator.Port(), RecallCheck()).body,
            AnswerWith(ElementOf(5, "S9") + "," + ElementOf(6, "S1")));
}

TEST(CloudOrders, OfOtherGatewaysAreNotAnsweredByThisOne) {
  const cloud::Simulator simulator({.orders = {EmptyOrder(7, "S9")}});

  const std::string answer = Ask(simulator.Port(), RecallUpload()).body;

  EXPECT_EQ(answer, kAccepted);
  EXPECT_EQ(simulator.StandingOrders(), 1U);
}

TEST(CloudOrders, MayBeAddedAtAnyTime) {
  cloud::Simulator simulator({});
  const std::string before = Ask(simulator.Port(), RecallCheck()).body;

  simulator.Order(EmptyOrder(9));

  EXPECT_EQ(before, kNoOrder);
  EXPECT_EQ(Ask(simulator.Port(), RecallCheck()).body, AnswerWith(ElementOf(9, "S1")));
}

TEST(CloudOrders, MayComeBackUnderTheSameNumber) {
  cloud::Simulator simulator({.orders = {Order()}});
  Ask(simulator.Port(), RecallUpload());

  simulator.Order(EmptyOrder(7));

  EXPECT_EQ(simulator.StandingOrders(), 1U);
  EXPECT_EQ(Ask(simulator.Port(), RecallUpload()).body, kAccepted);
  EXPECT_EQ(Ask(simulator.Port(), RecallUpload(R"({"sn":"S1","id":7,"data":[]})")).body, kAccepted);
}

TEST(CloudOrders, AreRecordedWithTheirAnswers) {
  const cloud::Simulator simulator({.orders = {EmptyOrder(5, "S9"), EmptyOrder(6)}});

  Ask(simulator.Port(), RecallCheck());

  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  EXPECT_THAT(simulator.Exchanges()[0].orders, ElementsAre(5, 6));
  EXPECT_EQ(simulator.Exchanges()[0].verdict, "accepted, ordered 5, ordered 6");
}

TEST(CloudOrders, LeaveTheDataOfTheirAnswersInTheRecords) {
  const cloud::Simulator simulator({});

  Ask(simulator.Port(), RecallUpload());

  ASSERT_THAT(simulator.AcceptedUploads(), SizeIs(1));
  const auto recall = simulator.AcceptedUploads()[0].recall;
  ASSERT_TRUE(recall);
  EXPECT_EQ(recall->id, 7);
  EXPECT_THAT(recall->points, ElementsAre(cloud::RecalledPoint{1,
                                                               3,
                                                               "1123",
                                                               1,
                                                               {{"2024-03-01 08:00:00", "12.500"},
                                                                {"2024-03-01 08:01:00", "12.625"}}},
                                          cloud::RecalledPoint{300, 3, "00AB", 0, {}}));
}

TEST(CloudOrders, LetOthersWaitForTheirAnswers) {
  const cloud::Simulator simulator({.orders = {Order()}});
  Ask(simulator.Port(), test::RealUpload());

  const bool early = simulator.AwaitAccepted(Endpoint::kCallData, 1, std::chrono::milliseconds(20));
  std::thread gateway([&] { Ask(simulator.Port(), RecallUpload()); });
  const bool inTime = simulator.AwaitAccepted(Endpoint::kCallData, 1, kLongEnough);

  gateway.join();
  EXPECT_FALSE(early);
  EXPECT_TRUE(inTime);
}

// What it is for: data that do not answer the order, and the words for it.
struct BadData {
  const char* name;
  const char* from;
  const char* to;
  const char* fault;
};

void PrintTo(const BadData& row, std::ostream* out) {
  *out << row.from << " -> " << row.to;
}

class CloudOrderFaults : public ::testing::TestWithParam<BadData> {};

TEST_P(CloudOrderFaults, AreSaidInWords) {
  const cloud::Simulator simulator({.orders = {Order()}});

  Ask(simulator.Port(),
      RecallUpload(test::Replaced(test::RecallDocument(), GetParam().from, GetParam().to)));

  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  EXPECT_EQ(simulator.Exchanges()[0].fault, GetParam().fault);
  EXPECT_THAT(simulator.AcceptedUploads(), IsEmpty());
  EXPECT_EQ(simulator.StandingOrders(), 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudOrderFaults,
    ::testing::Values(
        BadData{"PointMissing",
                R"(,{"groupId":300,"eqpId":3,"pointId":"00AB","flag":0,"values":[]})", "",
                "\"data\" has 1 points, ordered were 2"},
        BadData{"OtherGroup", "\"groupId\":1,", "\"groupId\":2,",
                "\"data[0]\" is not the ordered point"},
        BadData{"OtherDevice", "\"eqpId\":3,\"pointId\":\"00AB\"",
                "\"eqpId\":4,\"pointId\":\"00AB\"", "\"data[1]\" is not the ordered point"},
        BadData{"OtherPoint", "\"1123\"", "\"1124\"", "\"data[0]\" is not the ordered point"},
        BadData{"ValueTooEarly", "08:00:00", "07:59:00",
                "\"data[0].values\" go beyond the ordered span"},
        BadData{"ValueTooLate", "08:01:00", "08:02:00",
                "\"data[0].values\" go beyond the ordered span"}),
    [](const auto& row) { return row.param.name; });

TEST(CloudOrders, AreAnsweredFromTheNextWholeMinuteToTheNext) {
  RecallOrder order = Order();
  order.devices[0].points[0].beginTime = "2024-03-01 07:59:01";
  order.devices[0].points[0].endTime = "2024-03-01 08:00:01";
  const cloud::Simulator simulator({.orders = {order}});

  const std::string tooEarly =
      Ask(simulator.Port(),
          RecallUpload(test::Replaced(test::RecallDocument(), "08:00:00", "07:59:59")))
          .body;

  EXPECT_THAT(tooEarly, HasSubstr("go beyond the ordered span"));
  EXPECT_EQ(Ask(simulator.Port(), RecallUpload()).body, kAccepted);
}

}  // namespace
