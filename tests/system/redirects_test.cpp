// Redirects: the cloud moves data traffic to another address.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "system/support/ledger.h"
#include "system/support/systemtest.h"

namespace {

using cloud::Endpoint;
using ::testing::ElementsAre;

constexpr char kConfigured[] = "127.0.0.1";

// The service starts at 12:03:10 and checks its address every ten minutes.
class Redirect : public test::ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    test::SystemFile(m_cloud.Port(), {.recall = 60}).Write();
  }

  // The addresses at which the cloud was asked, in order, without repeats.
  std::vector<std::string> AddressesOf(Endpoint endpoint) const {
    std::vector<std::string> addresses;
    for (const auto& exchange : Exchanges(endpoint)) {
      if (addresses.empty() || addresses.back() != exchange.address) {
        addresses.push_back(exchange.address);
      }
    }
    return addresses;
  }

  Segment m_segment{test::ExampleValues()};
};

TEST_F(Redirect, MovesUploadsAndRecallChecksFromOneAddressCheckToAnother) {
  m_cloud.Redirect(std::string(kSecondAddress) + ":1");  // the port is not looked at
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 9, 59));
  EXPECT_THAT(AddressesOf(Endpoint::kRealData), ElementsAre(kConfigured));
  EXPECT_THAT(AddressesOf(Endpoint::kRecallCheck), ElementsAre(kConfigured));
  service.RunUntil(At(12, 25));
  m_cloud.Redirect("");
  service.RunUntil(At(12, 45));
  EXPECT_THAT(AddressesOf(Endpoint::kRealData), ElementsAre(kConfigured, kSecondAddress));
  EXPECT_THAT(AddressesOf(Endpoint::kRecallCheck), ElementsAre(kConfigured, kSecondAddress));
  EXPECT_THAT(AddressesOf(Endpoint::kSkipAddress), ElementsAre(kConfigured));
  m_cloud.Redirect(kConfigured);
  service.RunUntil(At(13, 5));

  EXPECT_THAT(AddressesOf(Endpoint::kRealData),
              ElementsAre(kConfigured, kSecondAddress, kConfigured));
}

TEST_F(Redirect, LeavesFilesPendingWhileItsAddressIsUnreachable) {
  m_cloud.Redirect("nowhere.invalid");
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 20, 59));
  EXPECT_EQ(test::CountResults(0), 3);  // of 12:10, 12:15 and 12:20
  m_cloud.Redirect(kConfigured);
  service.RunUntil(At(12, 33));

  EXPECT_EQ(test::CountResults(0), 0);
}

}  // namespace
