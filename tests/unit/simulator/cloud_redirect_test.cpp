// Redirects, and the second address that they lead to.
#include <gmock/gmock.h>

#include <sstream>

#include "cloud/simulator.h"
#include "cloudclient.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using test::AddressCheck;
using test::RealUpload;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::SizeIs;

constexpr char kSecond[] = "127.0.0.2";
constexpr char kNowhere[] = R"({"status":0,"message":"ok","data":[]})";
constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";

std::string To(const std::string& address) {
  return R"({"status":0,"message":"ok","data":[{"realIpAddress":")" + address + "\"}]}";
}

std::vector<std::string> AddressesOf(const cloud::Simulator& simulator) {
  std::vector<std::string> addresses;
  for (const cloud::Exchange& exchange : simulator.Exchanges()) {
    addresses.push_back(exchange.address);
  }
  return addresses;
}

class CloudRedirectAddress : public ::testing::TestWithParam<const char*> {};

TEST_P(CloudRedirectAddress, IsGivenAtTheAddressCheckAsItIs) {
  const cloud::Simulator simulator({.redirect = GetParam()});

  EXPECT_EQ(Ask(simulator.Port(), AddressCheck()).body, To(GetParam()));
  ASSERT_THAT(simulator.Exchanges(), SizeIs(1));
  EXPECT_EQ(simulator.Exchanges()[0].redirect, GetParam());
  EXPECT_EQ(simulator.Exchanges()[0].verdict, std::string("accepted, redirected to ") + GetParam());
}

INSTANTIATE_TEST_SUITE_P(Rows, CloudRedirectAddress,
                         ::testing::Values("127.0.0.2:8080", "127.0.0.2", ":8080"));

TEST(CloudRedirect, BeginsAndEndsAtAnyTime) {
  cloud::Simulator simulator({});
  const std::string before = Ask(simulator.Port(), AddressCheck()).body;
  simulator.Redirect("127.0.0.2:8080");
  const std::string meanwhile = Ask(simulator.Port(), AddressCheck()).body;
  simulator.Redirect("");

  EXPECT_EQ(before, kNowhere);
  EXPECT_EQ(meanwhile, To("127.0.0.2:8080"));
  EXPECT_EQ(Ask(simulator.Port(), AddressCheck()).body, kNowhere);
}

TEST(CloudRedirect, IsInNoOtherAnswer) {
  const cloud::Simulator simulator({.redirect = kSecond});

  EXPECT_EQ(Ask(simulator.Port(), test::RecallCheck()).body, kNowhere);
  EXPECT_EQ(Ask(simulator.Port(), RealUpload()).body, kAccepted);
}

TEST(CloudRedirect, IsNotGivenToAFaultyCheck) {
  const cloud::Simulator simulator({.redirect = kSecond});

  EXPECT_EQ(Ask(simulator.Port(), AddressCheck().Body("{}")).body,
            R"({"status":1,"message":"the body is not empty","data":[]})");
}

TEST(CloudRedirect, IsNotGivenInARefusal) {
  cloud::Simulator simulator({.redirect = kSecond});
  simulator.Script(Endpoint::kSkipAddress, {Behaviour::Refuse()});

  EXPECT_EQ(Ask(simulator.Port(), AddressCheck()).body,
            R"({"status":1,"message":"refused","data":[]})");
}

TEST(CloudSecondAddress, ServesOnTheSamePort) {
  const cloud::Simulator simulator({.secondAddress = kSecond});

  EXPECT_EQ(Ask(simulator.Port(), RealUpload(), kSecond).body, kAccepted);
  EXPECT_EQ(Ask(simulator.Port(), RealUpload()).body, kAccepted);
}

TEST(CloudSecondAddress, IsRecordedWithEachExchange) {
  const cloud::Simulator simulator({.secondAddress = kSecond});

  Ask(simulator.Port(), RealUpload());
  Ask(simulator.Port(), RealUpload(), kSecond);

  EXPECT_THAT(AddressesOf(simulator), ElementsAre("127.0.0.1", "127.0.0.2"));
  EXPECT_FALSE(simulator.Exchanges()[0].onSecondAddress);
  EXPECT_TRUE(simulator.Exchanges()[1].onSecondAddress);
}

TEST(CloudSecondAddress, SharesScriptsOrdersAndCounts) {
  cloud::Simulator simulator({.secondAddress = kSecond, .orders = {{.id = 7}}});
  simulator.Script(Endpoint::kRealData, {Behaviour::Refuse()});
  Ask(simulator.Port(), RealUpload());

  EXPECT_EQ(Ask(simulator.Port(), RealUpload(), kSecond).body, kAccepted);
  EXPECT_THAT(Ask(simulator.Port(), test::RecallCheck(), kSecond).body,
              EndsWith(R"("id":7,"devs":[]}]})"));
}

TEST(CloudSecondAddress, IsPrintedAtTheStartAndInEachOfItsLines) {
  std::ostringstream printed;
  cloud::Simulator simulator({.secondAddress = kSecond, .lines = &printed});

  Ask(simulator.Port(), AddressCheck(), kSecond);
  Ask(simulator.Port(), AddressCheck());
  simulator.Stop();

  const std::string port = std::to_string(simulator.Port());
  constexpr std::size_t kClockCharacters = 9;
  std::istringstream text(printed.str());
  std::array<std::string, 4> lines;
  for (std::string& line : lines) std::getline(text, line);
  EXPECT_EQ(lines[0], "listening on 127.0.0.1:" + port);
  EXPECT_EQ(lines[1], "listening on 127.0.0.2:" + port);
  EXPECT_EQ(lines[2].substr(kClockCharacters), "at 127.0.0.2 skip-address: accepted");
  EXPECT_EQ(lines[3].substr(kClockCharacters), "skip-address: accepted");
}

TEST(CloudSecondAddress, IsFreedAtTheEnd) {
  int port = 0;
  {
    const cloud::Simulator first({.secondAddress = kSecond});
    port = first.Port();
  }

  EXPECT_NO_THROW(const cloud::Simulator second({.address = kSecond, .port = port}));
}

TEST(CloudSecondAddress, MustBeALoopbackAddress) {
  EXPECT_THROW(const cloud::Simulator simulator({.secondAddress = "0.0.0.0"}),
               std::invalid_argument);
}

TEST(CloudSecondAddress, MustBeFree) {
  const cloud::Simulator first({.address = kSecond});

  EXPECT_THROW(const cloud::Simulator second({.port = first.Port(), .secondAddress = kSecond}),
               std::system_error);
}

}  // namespace
