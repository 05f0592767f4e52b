// Orders of history: how they are written, in which answers they stand, and what answers them.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "cloudclient.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using cloud::RecallOrder;
using cloud::Simulator;
using namespace test;
using namespace testing;

constexpr char kNoOrder[] = R"({"status":0,"message":"ok","data":[]})";
constexpr char kDone[] = R"({"status":0,"message":"ok"})";

// What RecallDocument answers.
RecallOrder Order(const std::string& ending = "") {
  return cloud::ParseOrder(
      "7:1/3:1123@2024-03-01 08:00:00..2024-03-01 08:01:00;"
      "300/3:AB@2024-03-01 08:00:00..2024-03-01 08:01:00" +
      ending);
}

// In which of the next four answers an order stands.
std::vector<bool> NextAnswers(const Simulator& simulator) {
  std::vector<bool> ordered;
  for (int check = 0; check < 4; ++check) {
    ordered.push_back(Ask(simulator.Port(), RecallCheck()).body != kNoOrder);
  }
  return ordered;
}

TEST(RecallOrders, StandInTheAnswerInFull) {
  Simulator simulator({.orders = {Order()}});
  simulator.Order({.id = 8, .serialNumber = "S9"});

  EXPECT_EQ(Ask(simulator.Port(), RecallCheck()).body,
            R"({"status":0,"message":"ok","data":[{"sn":"S1","id":7,"devs":[)"
            R"({"groupId":"1","eqpId":"3","ids":[{"pointId":"1123",)"
            R"("beginTime":"2024-03-01 08:00:00","endTime":"2024-03-01 08:01:00"}]},)"
            R"({"groupId":"300","eqpId":"3","ids":[{"pointId":"00AB",)"
            R"("beginTime":"2024-03-01 08:00:00","endTime":"2024-03-01 08:01:00"}]}]},)"
            R"({"sn":"S9","id":8,"devs":[]}]})");
  EXPECT_THAT(simulator.Exchanges().at(0).orders, ElementsAre(7, 8));
}

TEST(RecallOrders, StandUntilTheirDataAreAccepted) {
  Simulator simulator({.orders = {Order(), {.id = 7, .serialNumber = "S9"}}});
  simulator.Script(Endpoint::kCallData, {Behaviour::Refuse(), Behaviour::Cut()});
  const std::vector<bool> before = NextAnswers(simulator);
  Ask(simulator.Port(), RecallUpload());
  Ask(simulator.Port(), RecallUpload());
  Ask(simulator.Port(), RecallUpload("{}"));
  Ask(simulator.Port(), RecallUpload(R"({"sn":"S1","id":8,"data":[]})"));
  const std::size_t refused = simulator.StandingOrders();

  const std::string answer = Ask(simulator.Port(), RecallUpload()).body;

  EXPECT_THAT(before, ElementsAre(true, true, true, true));
  EXPECT_EQ(refused, 2U);
  EXPECT_EQ(answer, kDone);
  EXPECT_EQ(simulator.StandingOrders(), 1U);  // the one for the other gateway
}

TEST(RecallOrders, AreRepeatedAsOftenAsAskedAndLetChecksPassFirst) {
  Simulator simulator({.orders = {Order("*2+1")}});
  simulator.Script(Endpoint::kRecallCheck, {Behaviour::Refuse(), Behaviour::Close()});
  Ask(simulator.Port(), RecallCheck());  // the order is in neither answer
  Ask(simulator.Port(), RecallCheck());
  Ask(simulator.Port(), RecallUpload());

  EXPECT_THAT(NextAnswers(simulator), ElementsAre(false, true, true, false));
}

TEST(RecallOrders, AreNotAnsweredByOtherData) {
  const Simulator simulator({.orders = {Order()}});
  const std::vector<std::pair<std::string, std::string>> changes = {
      {R"(,{"groupId":300,"eqpId":3,"pointId":"00AB","flag":0,"values":[]})", ""},
      {"\"groupId\":1,", "\"groupId\":2,"},
      {"\"eqpId\":3,\"pointId\":\"00AB\"", "\"eqpId\":4,\"pointId\":\"00AB\""},
      {"\"1123\"", "\"1124\""},
      {"08:00:00", "07:59:00"},
      {"08:01:00", "08:02:00"}};

  for (const auto& [from, to] : changes) {
    const std::string upload = RecallUpload(Replaced(RecallDocument(), from, to));
    EXPECT_THAT(Ask(simulator.Port(), upload).body, HasSubstr(R"("status":1)")) << from;
  }
  EXPECT_EQ(simulator.StandingOrders(), 1U);
}

TEST(RecallOrders, AreAnsweredFromTheNextWholeMinuteToTheNext) {
  RecallOrder order = Order();
  order.devices[0].points[0].beginTime = "2024-03-01 07:59:01";
  order.devices[0].points[0].endTime = "2024-03-01 08:00:01";
  const Simulator simulator({.orders = {order}});

  const std::string early =
      Ask(simulator.Port(), RecallUpload(Replaced(RecallDocument(), "08:00:00", "07:59:59"))).body;

  EXPECT_THAT(early, HasSubstr(R"("status":1)"));
  EXPECT_EQ(Ask(simulator.Port(), RecallUpload()).body, kDone);
}

}  // namespace
