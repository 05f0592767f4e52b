// The program as it is started: its options, its lines, its end.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "cloud/simulator.h"
#include "cloudclient.h"
#include "support/files.h"

namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr int kExitCannotStart = 1;
constexpr int kExitBadCommandLine = 2;

// What it is for: one run of the program, its output in files.
// Threads: one. Owns: the process, killed with the object when it still runs.
class ProgramRun {
 public:
  explicit ProgramRun(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), BRENNIK_CLOUD_SIMULATOR);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    constexpr int kCreate = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, OutputPath().c_str(), kCreate, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, ErrorPath().c_str(), kCreate, 0600);
    if (posix_spawn(&m_pid, argv[0], &files, nullptr, argv.data(), environ) != 0) m_pid = -1;
    posix_spawn_file_actions_destroy(&files);
  }
  ~ProgramRun() {
    if (m_pid < 0) return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
  ProgramRun(const ProgramRun&) = delete;
  ProgramRun& operator=(const ProgramRun&) = delete;

  // The port of its first line; 0 when there is none within ten seconds.
  int AwaitPort() const {
    constexpr std::chrono::seconds kLongEnough{10};
    const auto deadline = std::chrono::steady_clock::now() + kLongEnough;
    while (std::chrono::steady_clock::now() < deadline) {
      const std::string output = Output();
      const std::size_t end = output.find('\n');
      if (end != std::string::npos) return std::stoi(output.substr(output.rfind(':', end) + 1));
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return 0;
  }
  void Signal(int number) const { kill(m_pid, number); }
  // The exit status, or 128 + the signal that ended it.
  int Wait() {
    int status = -1;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  std::string Output() const { return test::ReadFile(OutputPath()); }
  std::string Errors() const { return test::ReadFile(ErrorPath()); }

 private:
  std::string OutputPath() const { return m_folder.Path() + "/output"; }
  std::string ErrorPath() const { return m_folder.Path() + "/errors"; }

  const test::TemporaryFolder m_folder;
  pid_t m_pid = -1;
};

class CloudProgramEnd : public ::testing::TestWithParam<int> {};

TEST_P(CloudProgramEnd, IsCleanOnASignal) {
  ProgramRun run({"--port", "0"});
  ASSERT_NE(run.AwaitPort(), 0);

  run.Signal(GetParam());

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_EQ(run.Errors(), "");
}

INSTANTIATE_TEST_SUITE_P(Rows, CloudProgramEnd, ::testing::Values(SIGINT, SIGTERM));

TEST(CloudProgram, EndsAfterAsManyUploadsAsAsked) {
  const test::TemporaryFolder folder;
  ProgramRun run(
      {"--port=0", "--exit-after=2", "--sn=S1", "--prefix=/plant", "--uploads=" + folder.Path()});
  const int port = run.AwaitPort();
  ASSERT_NE(port, 0);

  std::vector<std::string> answers;
  for (const std::string stem : {"S20240301100000", "S20240301100500"}) {
    answers.push_back(
        Ask(port, test::CloudRequest::Upload("/plant/eqpapi/EqpUploadDataInfo", stem + ".tar.gz",
                                             test::TarGz({{stem + ".dat", test::RealDocument()}})))
            .body);
  }

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_THAT(answers, ::testing::Each(R"({"status":0,"message":"ok"})"));
  EXPECT_THAT(test::List(folder.Path() + "/realdata"),
              ::testing::ElementsAre("S20240301100000.tar.gz", "S20240301100500.tar.gz"));
  EXPECT_THAT(run.Output(), EndsWith("2 devices, 2 points: accepted\n"));
}

TEST(CloudProgram, MisbehavesAsTold) {
  ProgramRun run({"--port", "0", "--authorize", "refuse*2", "--realdata", "http:500:'busy'"});
  const int port = run.AwaitPort();
  ASSERT_NE(port, 0);
  const auto login =
      test::CloudRequest::Json("/eqpapi/EqpAuthorize", R"({"sn":"S1","applyType":0})");

  EXPECT_THAT(Ask(port, login).body, StartsWith(R"({"status":1)"));
  EXPECT_THAT(Ask(port, login).body, StartsWith(R"({"status":1)"));
  EXPECT_THAT(Ask(port, login).body, StartsWith(R"({"status":0)"));
  EXPECT_EQ(Ask(port, test::RealUpload()).body, "busy");
}

TEST(CloudProgram, OrdersHistoryAsTold) {
  ProgramRun run({"--port=0", "--order=7:1/3:1123@2024-03-01 08:00:00..2024-03-01 08:01:00",
                  "--order", "S9#8:1/3:1@2024-03-01 08:00:00..2024-03-01 08:01:00*2"});
  const int port = run.AwaitPort();
  ASSERT_NE(port, 0);

  const std::string answer = Ask(port, test::RecallCheck()).body;

  EXPECT_EQ(answer, R"({"status":0,"message":"ok","data":[{"sn":"S1","id":7,"devs":[)"
                    R"({"groupId":"1","eqpId":"3","ids":[{"pointId":"1123",)"
                    R"("beginTime":"2024-03-01 08:00:00","endTime":"2024-03-01 08:01:00"}]}]},)"
                    R"({"sn":"S9","id":8,"devs":[{"groupId":"1","eqpId":"3","ids":[)"
                    R"({"pointId":"0001","beginTime":"2024-03-01 08:00:00",)"
                    R"("endTime":"2024-03-01 08:01:00"}]}]}]})");
  EXPECT_THAT(run.Output(), EndsWith(" recall-check sn S1: accepted, ordered 7, ordered 8\n"));
}

TEST(CloudProgram, RedirectsAsToldAndListensThereToo) {
  ProgramRun run({"--port=0", "--redirect=127.0.0.2:8080"});
  const int port = run.AwaitPort();
  ASSERT_NE(port, 0);

  const std::string answer = Ask(port, test::AddressCheck()).body;
  Ask(port, test::RecallUpload(), "127.0.0.2");

  EXPECT_EQ(answer, R"({"status":0,"message":"ok","data":[{"realIpAddress":"127.0.0.2:8080"}]})");
  EXPECT_THAT(run.Output(), HasSubstr("listening on 127.0.0.2:" + std::to_string(port) + "\n"));
  EXPECT_THAT(run.Output(), HasSubstr(" skip-address: accepted, redirected to 127.0.0.2:8080\n"));
  EXPECT_THAT(run.Output(), HasSubstr(" at 127.0.0.2 calldata R20240301100000.tar.gz "));
  EXPECT_THAT(run.Output(), EndsWith(" bytes, 2 devices, 2 points, order 7: accepted\n"));
}

TEST(CloudProgram, ListensOnceWhereItRedirectsToItself) {
  ProgramRun run({"--port=0", "--redirect=127.0.0.1"});
  ASSERT_NE(run.AwaitPort(), 0);

  run.Signal(SIGTERM);

  EXPECT_EQ(run.Wait(), 0);
  EXPECT_EQ(run.Output().find("listening"), run.Output().rfind("listening"));
}

TEST(CloudProgram, HelpsWithEveryOptionAndEveryItem) {
  ProgramRun run({"--help"});

  EXPECT_EQ(run.Wait(), 0);
  const std::string help = run.Output();
  for (const char* word : {"--address",      "--port",      "--prefix",
                           "--sn",           "--uploads",   "--exit-after",
                           "--help",         "--authorize", "--skip-address",
                           "--recall-check", "--realdata",  "--alarmdata",
                           "--calldata",     "ok",          "refuse",
                           "http:CODE",      "nonsense",    "stall:SECONDS",
                           "pieces",         "cut",         "close",
                           "--redirect",     "--order",     "GROUP/EQP:POINT"}) {
    EXPECT_THAT(help, HasSubstr(word));
  }
}

TEST(CloudProgram, FailsOnAPortInUse) {
  const cloud::Simulator other({});
  ProgramRun run({"--port", std::to_string(other.Port())});

  EXPECT_EQ(run.Wait(), kExitCannotStart);
  EXPECT_EQ(run.Errors(), "cloud-simulator: cannot listen on 127.0.0.1:" +
                              std::to_string(other.Port()) + ": Address already in use\n");
  EXPECT_EQ(run.Output(), "");
}

TEST(CloudProgram, FailsWithoutAFolderForUploads) {
  ProgramRun run({"--port", "0", "--uploads", "/dev/null/uploads"});

  EXPECT_EQ(run.Wait(), kExitCannotStart);
  EXPECT_THAT(run.Errors(), AllOf(StartsWith("cloud-simulator: "), HasSubstr("/dev/null/uploads")));
}

// What it is for: a command line that is refused, and the words for it.
struct BadCommandLine {
  std::vector<std::string> arguments;
  const char* complaint;
};

void PrintTo(const BadCommandLine& row, std::ostream* out) {
  *out << row.complaint;
}

class CloudProgramRefuses : public ::testing::TestWithParam<BadCommandLine> {};

TEST_P(CloudProgramRefuses, ABadCommandLineInWords) {
  ProgramRun run(GetParam().arguments);

  EXPECT_EQ(run.Wait(), kExitBadCommandLine);
  EXPECT_EQ(run.Errors(), std::string("cloud-simulator: ") + GetParam().complaint + "\n");
  EXPECT_EQ(run.Output(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CloudProgramRefuses,
    ::testing::Values(
        BadCommandLine{{"--bogus"}, "unknown option: --bogus"},
        BadCommandLine{{"-x"}, "unknown option: -x"},
        BadCommandLine{{"--port"}, "option without its value: --port"},
        BadCommandLine{{"extra"}, "unexpected argument: extra"},
        BadCommandLine{{"--port", "65536"}, "--port '65536' is not a number from 0 to 65535"},
        BadCommandLine{{"--port", "80a"}, "--port '80a' is not a number from 0 to 65535"},
        BadCommandLine{{"--exit-after", "0"}, "--exit-after '0' is not a number from 1 to 1000000"},
        BadCommandLine{{"--address", "0.0.0.0"},
                       "--address '0.0.0.0' is not a loopback address (127.0.0.0/8)"},
        BadCommandLine{{"--redirect", "10.1.2.3:8080"},
                       "--redirect '10.1.2.3' is not a loopback address (127.0.0.0/8)"},
        BadCommandLine{{"--order", "7"}, "--order: order '7' has no ':' behind its number"},
        BadCommandLine{{"--prefix", "plant"},
                       "--prefix 'plant' does not begin with '/', or ends with it (e.g. /cloud)"},
        BadCommandLine{{"--prefix", "/plant/"},
                       "--prefix '/plant/' does not begin with '/', or ends with it (e.g. /cloud)"},
        BadCommandLine{{"--calldata", "ok,later"},
                       "--calldata: behaviour 'ok,later' has the unknown item 'later'"}));

}  // namespace
