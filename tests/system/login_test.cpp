// The login: refused, unreachable, misunderstood, and its rhythm.
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "system/support/answers.h"
#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"

namespace {

using cloud::Behaviour;
using cloud::Endpoint;
using test::CloudServer;
using test::HttpAnswer;

constexpr char kFailed[] = "Post Authorize Info failed\n";
constexpr char kDone[] = "Post Authorize Info Successfully\n";

// The service starts at 12:00:10 and logs in at once.
class Login : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
  }
};

// What the upload worker has exchanged; the address check goes on beside it.
std::vector<std::string> Names(const std::vector<cloud::Exchange>& exchanges) {
  std::vector<std::string> names;
  for (const auto& exchange : exchanges) {
    if (exchange.endpoint == Endpoint::kSkipAddress) continue;
    names.emplace_back(Facts(*exchange.endpoint).name);
  }
  return names;
}

TEST_F(Login, RefusedTwiceIsTriedEverySixtySeconds) {
  cloud::Simulator cloud({});
  cloud.Script(Endpoint::kAuthorize, {Behaviour::Refuse(), Behaviour::Refuse()});
  test::SystemFile(cloud.Port()).Write();
  test::ServiceProcess service(At(12, 0, 10));

  service.RunUntil(At(13, 0));

  EXPECT_EQ(test::TextLogTimes("Auth Receive Response:"),
            (std::vector<std::string>{"12:00:10", "12:01:10", "12:02:10"}));
  EXPECT_EQ(test::TextLogTimes(kFailed), (std::vector<std::string>{"12:00:10", "12:01:10"}));
  EXPECT_EQ(test::TextLogTimes(kDone), std::vector<std::string>{"12:02:10"});
  EXPECT_EQ(Names(cloud.Exchanges()), std::vector<std::string>(3, "authorize"));
}

TEST_F(Login, RefusedHoldsBackTheUploadsButNotThePacking) {
  cloud::Simulator cloud({});
  cloud.Script(Endpoint::kAuthorize, std::vector<Behaviour>(15, Behaviour::Refuse()));
  test::SystemFile(cloud.Port()).Write();
  const Segment segment({{0x01030001, 1}});
  test::ServiceProcess service(At(12, 0, 10));

  service.RunUntil(At(12, 14, 20));
  const int pending = test::CountResults(0);
  const auto refused = cloud.Exchanges();
  service.RunUntil(At(12, 17));

  EXPECT_EQ(pending, 3);  // 12:00, 12:05, 12:10
  EXPECT_EQ(Names(refused), std::vector<std::string>(15, "authorize"));
  EXPECT_EQ(test::CountResults(1), 4);
}

TEST_F(Login, IsDoneOncePerProcess) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  const Segment segment({{0x01030001, 1}});
  test::ServiceProcess service(At(12, 0, 10));

  service.RunUntil(At(14, 0, 0));

  auto names = Names(cloud.Exchanges());
  ASSERT_FALSE(names.empty());
  EXPECT_EQ(names.front(), "authorize");
  names.erase(names.begin());
  EXPECT_EQ(names, std::vector<std::string>(24, "realdata"));
}

TEST_F(Login, SucceedsOnceTheCloudIsThere) {
  int port = 0;
  {
    const CloudServer gone;
    port = gone.Port();
  }
  test::SystemFile(port).Write();
  const Segment segment({{0x01030001, 1}});
  test::ServiceProcess service(At(12, 0, 10));
  service.RunUntil(At(12, 2, 30));
  cloud::Simulator cloud({.port = port});

  service.RunUntil(At(12, 4, 30));

  EXPECT_EQ(Names(cloud.Exchanges()), (std::vector<std::string>{"authorize", "realdata"}));
  EXPECT_EQ(test::TextLogTimes(kDone), std::vector<std::string>{"12:03:10"});
}

TEST_F(Login, IsFollowedByTheNextBoundaryNotByAnUpload) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  test::WriteLedger({{test::PackDataFile(At(11, 55))}});
  test::ServiceProcess service(At(12, 0, 10));

  service.RunUntil(At(12, 0, 59));
  const auto before = Names(cloud.Exchanges());
  service.RunUntil(At(12, 1, 0));

  EXPECT_EQ(before, std::vector<std::string>{"authorize"});
  EXPECT_EQ(Names(cloud.Exchanges()), (std::vector<std::string>{"authorize", "realdata"}));
}

struct LoginAnswer {
  const char* name;
  int httpStatus;
  std::string body;
  bool granted;
  std::vector<std::string> warnings;  // of the first login
};

class LoginVerdict : public Login, public ::testing::WithParamInterface<LoginAnswer> {};

TEST_P(LoginVerdict, FollowsFromTheAnswer) {
  CloudServer server;
  server.Answer(HttpAnswer(GetParam().httpStatus, GetParam().body));
  test::SystemFile(server.Port()).Write();
  test::ServiceProcess service(At(12, 0, 10));

  service.RunUntil(At(12, 1, 5));

  EXPECT_EQ(test::OfLevel(test::ReadTextLog(), "WARN"), GetParam().warnings);
  EXPECT_EQ(test::TextLogTimes(kDone).size(), GetParam().granted ? 1U : 0U);
  EXPECT_FALSE(service.ExitStatus());
}

INSTANTIATE_TEST_SUITE_P(
    Login, LoginVerdict,
    ::testing::Values(
        LoginAnswer{"Granted", 200, test::kLoginGranted, true, {}},
        LoginAnswer{"TheEnvelopesStatusIsNotConsulted",
                    200,
                    R"({"status":1,"message":"no","data":[{"seqStatus":0}]})",
                    true,
                    {}},
        LoginAnswer{"TheLastElementCounts",
                    200,
                    R"({"status":0,"message":"","data":[{"seqStatus":1},{"seqStatus":0}]})",
                    true,
                    {}},
        LoginAnswer{"TheLastElementRefuses",
                    200,
                    R"({"status":0,"message":"","data":[{"seqStatus":0},{"seqStatus":1}]})",
                    false,
                    {kFailed}},
        LoginAnswer{"Refused", 200, test::kLoginRefused, false, {kFailed}},
        LoginAnswer{
            "NobodyNamed", 200, R"({"status":0,"message":"ok","data":[]})", false, {kFailed}},
        LoginAnswer{"WithoutSeqStatus",
                    200,
                    R"({"status":0,"message":"ok","data":[{}]})",
                    false,
                    {"Authorize missing seqStatus Member", kFailed}},
        LoginAnswer{"WithoutData",
                    200,
                    R"({"status":0,"message":"ok"})",
                    false,
                    {R"(Authorize recv:{"status":0,"message":"ok"} ,missing Member)", kFailed}}),
    [](const auto& row) { return row.param.name; });

}  // namespace
