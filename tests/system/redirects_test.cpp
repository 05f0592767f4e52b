// Redirects: the cloud moves data traffic to another address.
#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using ::testing::Contains;
using ::testing::ElementsAre;

constexpr char kConfigured[] = "127.0.0.1";
constexpr char kOther[] = "127.0.0.2";

// The cloud answers on both addresses. The service starts at 12:03:10; the address check comes at
// every ten minutes.
class Redirects : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteExamplePlant();
    test::SystemFile(m_cloud.Port()).Cloud("RecallInterval", "60").Write();
  }

  // The addresses at which an endpoint was visited, in order, without repeats.
  std::vector<std::string> AddressesOf(Endpoint endpoint) const {
    std::vector<std::string> addresses;
    for (const auto& exchange : m_cloud.Exchanges()) {
      if (exchange.endpoint != endpoint) continue;
      if (addresses.empty() || addresses.back() != exchange.address) {
        addresses.push_back(exchange.address);
      }
    }
    return addresses;
  }

  cloud::Simulator m_cloud{{.secondAddress = kOther}};
  Segment m_segment{test::ExampleValues()};
};

TEST_F(Redirects, MoveUploadsAndRecallChecksFromTheTenMinuteBoundaryOn) {
  m_cloud.Redirect(std::string(kOther) + ":8080");
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 9, 59));
  const auto uploadsBefore = AddressesOf(Endpoint::kRealData);
  const auto checksBefore = AddressesOf(Endpoint::kRecallCheck);
  service.RunUntil(At(12, 20, 59));

  EXPECT_THAT(uploadsBefore, ElementsAre(kConfigured));
  EXPECT_THAT(checksBefore, ElementsAre(kConfigured));
  EXPECT_THAT(AddressesOf(Endpoint::kRealData), ElementsAre(kConfigured, kOther));
  EXPECT_THAT(AddressesOf(Endpoint::kRecallCheck), ElementsAre(kConfigured, kOther));
  EXPECT_EQ(test::TextLogTimes("Skip Address Receive Response:"),
            (std::vector<std::string>{"12:10:00", "12:20:00"}));
}

TEST_F(Redirects, LeaveTheAddressCheckWhereItWas) {
  m_cloud.Redirect(kOther);
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 30, 59));

  EXPECT_THAT(AddressesOf(Endpoint::kSkipAddress), ElementsAre(kConfigured));
}

TEST_F(Redirects, LeaveTheLoginWhereItWas) {
  m_cloud.Redirect(kOther);
  m_cloud.Script(Endpoint::kAuthorize, std::vector<Behaviour>(10, Behaviour::Refuse()));
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 15));

  EXPECT_THAT(AddressesOf(Endpoint::kAuthorize), ElementsAre(kConfigured));
  EXPECT_THAT(AddressesOf(Endpoint::kRealData), ElementsAre(kOther));
}

TEST_F(Redirects, KeepTheConfiguredPortAndPrefix) {
  m_cloud.Redirect(std::string(kOther) + ":1");
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 16, 30));

  EXPECT_THAT(test::OfLevel(test::ReadTextLog(), "INFO"),
              Contains("start Send realdata "
                       "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7/S20240307121500.tar.gz to "
                       "http://127.0.0.2:" +
                       std::to_string(m_cloud.Port()) + "/eqpapi/EqpUploadDataInfo \n"));
}

TEST_F(Redirects, LeadBackAgain) {
  m_cloud.Redirect(kOther);
  test::ServiceProcess service(At(12, 3, 10));
  service.RunUntil(At(12, 19));
  m_cloud.Redirect(kConfigured);

  service.RunUntil(At(12, 29));

  EXPECT_THAT(AddressesOf(Endpoint::kRealData), ElementsAre(kConfigured, kOther, kConfigured));
}

TEST_F(Redirects, LastUntilTheNextOne) {
  m_cloud.Redirect(kOther);
  test::ServiceProcess service(At(12, 3, 10));
  service.RunUntil(At(12, 19));
  m_cloud.Redirect("");

  service.RunUntil(At(12, 49));

  EXPECT_THAT(AddressesOf(Endpoint::kRealData), ElementsAre(kConfigured, kOther));
}

}  // namespace
