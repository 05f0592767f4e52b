// The cloud as a program: its options reach the simulator, and it ends as asked.
#include <gmock/gmock.h>

#include <csignal>
#include <string>
#include <vector>

#include "cloud/simulator.h"
#include "cloudclient.h"
#include "programrun.h"

namespace {

using test::Ask;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class CloudRun : public test::ProgramRun {
 public:
  explicit CloudRun(std::vector<std::string> arguments)
      : ProgramRun(BRENNIK_CLOUD_SIMULATOR, std::move(arguments)) {}

  // The port of its first line.
  static int Port() {
    if (!IsReady()) return 0;
    const std::string line = Output().substr(0, Output().find('\n'));
    return std::stoi(line.substr(line.rfind(':') + 1));
  }
};

TEST(CloudProgram, EndsCleanlyOnASignal) {
  for (const int signal : {SIGINT, SIGTERM}) {
    CloudRun run({"--port", "0"});
    ASSERT_NE(CloudRun::Port(), 0);

    EXPECT_EQ(run.End(signal), 0);
    EXPECT_EQ(CloudRun::Errors(), "");
  }
}

TEST(CloudProgram, EndsAfterAsManyUploadsAsAsked) {
  CloudRun run({"--port=0", "--exit-after=2", "--sn=S1", "--prefix=/plant", "--uploads=/tmp/kept"});
  const int port = CloudRun::Port();
  ASSERT_NE(port, 0);

  for (const char* stamp : {"20240301100000", "20240301100500"}) {
    Ask(port, test::Replaced(test::RealUpload(stamp), "/eqpapi", "/plant/eqpapi"));
  }

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_THAT(test::List("/tmp/kept/realdata"),
              ElementsAre("S20240301100000.tar.gz", "S20240301100500.tar.gz"));
}

TEST(CloudProgram, PassesItsOtherOptionsOn) {
  const CloudRun run({"--address=127.0.0.3", "--port=0", "--redirect=127.0.0.2:8080", "--authorize",
                      "refuse*2", "--realdata=http:500:'busy'",
                      "--order=7:1/3:1123@2024-03-01 08:00:00..2024-03-01 08:01:00", "--order",
                      "S9#8:1/3:1@2024-03-01 08:00:00..2024-03-01 08:01:00*2"});
  const int port = CloudRun::Port();
  ASSERT_NE(port, 0);

  EXPECT_THAT(Ask(port, test::Login(), "127.0.0.3").body, StartsWith(R"({"status":1)"));
  EXPECT_THAT(Ask(port, test::Login(), "127.0.0.2").body, StartsWith(R"({"status":1)"));
  EXPECT_THAT(Ask(port, test::Login(), "127.0.0.2").body, StartsWith(R"({"status":0)"));
  EXPECT_EQ(Ask(port, test::RealUpload(), "127.0.0.2").body, "busy");
  EXPECT_THAT(Ask(port, test::AddressCheck(), "127.0.0.3").body, HasSubstr("\"127.0.0.2:8080\""));
  Ask(port, test::RecallCheck(), "127.0.0.2");
  EXPECT_THAT(CloudRun::Output(), HasSubstr("accepted, ordered 7, ordered 8\n"));
}

TEST(CloudProgram, ListensOnceWhenItRedirectsToItself) {
  CloudRun run({"--port=0", "--redirect=127.0.0.1"});
  ASSERT_NE(CloudRun::Port(), 0);

  EXPECT_EQ(run.End(SIGTERM), 0);
}

TEST(CloudProgram, NamesEveryOptionInItsHelp) {
  CloudRun run({"--help"});

  EXPECT_EQ(run.Wait(), 0);
  for (const char* word :
       {"--address",    "--port",      "--prefix",       "--sn",           "--uploads",
        "--exit-after", "--help",      "--authorize",    "--skip-address", "--recall-check",
        "--realdata",   "--alarmdata", "--calldata",     "--redirect",     "--order",
        "refuse",       "http:CODE",   "nonsense",       "stall:SECONDS",  "pieces",
        "cut",          "close",       "GROUP/EQP:POINT"}) {
    EXPECT_THAT(CloudRun::Output(), HasSubstr(word));
  }
}

TEST(CloudProgram, EndsWithStatusOneWhenItCannotStart) {
  const cloud::Simulator other({});
  CloudRun run({"--port", std::to_string(other.Port())});

  EXPECT_EQ(run.Wait(), 1);
  EXPECT_THAT(CloudRun::Errors(), HasSubstr(std::to_string(other.Port())));
}

TEST(CloudProgram, EndsWithStatusTwoOnABadCommandLine) {
  const std::vector<std::vector<std::string>> rows = {{"--bogus"},
                                                      {"-x"},
                                                      {"--port"},
                                                      {"extra"},
                                                      {"--port", "65536"},
                                                      {"--port", "80a"},
                                                      {"--port", "-1"},
                                                      {"--exit-after", "0"},
                                                      {"--address", "0.0.0.0"},
                                                      {"--redirect", "10.1.2.3:8080"},
                                                      {"--order", "7"},
                                                      {"--prefix", "plant"},
                                                      {"--prefix", "/plant/"},
                                                      {"--calldata", "ok,later"}};

  for (const auto& arguments : rows) {
    SCOPED_TRACE(arguments[0] + " " + arguments.back());
    CloudRun run(arguments);
    EXPECT_EQ(run.Wait(), 2);
    EXPECT_THAT(CloudRun::Errors(), HasSubstr(arguments[0]));
    EXPECT_EQ(CloudRun::Output(), "");
  }
}

}  // namespace
