// The programs of the gateway, played by small shell programs.
#include "console/bench/processes.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace {

using console::Child;
using console::Clock;
using console::Processes;
using console::ProcessState;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

bool Await(const std::function<bool()>& reached) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!reached()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

bool IsGone(pid_t pid) {
  return Await([=] { return kill(pid, 0) != 0 && errno == ESRCH; });
}

// The processes with one program, a shell script called "service".
class BenchProcesses : public ::testing::Test {
 protected:
  void Make(const std::string& script, bool restart = false) {
    m_processes.emplace(
        m_clock, std::vector<Processes::Program>{{"service", {"sh", "-c", script}, restart}},
        [this](const std::string& name, const std::string& text) {
          const std::lock_guard lock(m_mutex);
          (name == "run" ? m_ends : m_lines).push_back(text);
        },
        std::chrono::milliseconds(100));
    m_processes->Start("service");
  }
  std::vector<std::string> Lines() {
    const std::lock_guard lock(m_mutex);
    return m_lines;
  }
  std::vector<std::string> Ends() {
    const std::lock_guard lock(m_mutex);
    return m_ends;
  }
  // The number in a line.
  double NumberIn(std::size_t line) {
    EXPECT_TRUE(Await([&] { return Lines().size() > line; }));
    return std::strtod(Lines().at(line).c_str(), nullptr);
  }
  ProcessState State() { return m_processes->State("service"); }
  bool AwaitEnd() {
    return Await([this] { return !State().running; });
  }

  Clock m_clock{"/tmp/clock", 1'700'000'000, 10};
  std::mutex m_mutex;
  std::vector<std::string> m_lines;  // of the program
  std::vector<std::string> m_ends;   // of ends and restarts
  std::optional<Processes> m_processes;
};

TEST_F(BenchProcesses, PassesBothOutputsOnLineByLine) {
  Make("echo one; echo two >&2; printf three");

  ASSERT_TRUE(AwaitEnd());

  EXPECT_THAT(Lines(), ::testing::ElementsAre("one", "two", "three"));
}

TEST_F(BenchProcesses, TellsHowAProgramEnded) {
  Make("exit 3");

  ASSERT_TRUE(AwaitEnd());

  EXPECT_THAT(State().text, HasSubstr("ended with status 3 at "));
}

TEST_F(BenchProcesses, RestartsAProgramTwoGatewaySecondsAfterItsEnd) {
  Make("date +%s.%N", true);

  const double first = NumberIn(0);
  const double second = NumberIn(1);

  EXPECT_GE(second - first, 2);
  EXPECT_GE(State().restarts, 1);
  EXPECT_THAT(Ends(), ::testing::IsSupersetOf({HasSubstr("service: ended with status 0 at "),
                                               HasSubstr("service: running since ")}));
}

TEST_F(BenchProcesses, LeavesAStoppedProgramStopped) {
  Make("echo up; exec sleep 100000", true);

  m_processes->Stop("service");
  const double stopped = m_clock.Elapsed();
  Await([&] { return m_clock.Elapsed() > stopped + 3; });

  EXPECT_FALSE(State().running);
  EXPECT_EQ(State().restarts, 0);
}

TEST_F(BenchProcesses, KillsAProgramThatDoesNotStopInTime) {
  Make("trap '' TERM; echo up; while :; do sleep 1; done");
  NumberIn(0);  // the trap is set

  m_processes->Stop("service");

  EXPECT_THAT(State().text, HasSubstr("killed by signal 9"));
}

TEST_F(BenchProcesses, KillsWhatAProgramHasStartedToo) {
  Make("sleep 100000 & echo $!; wait");
  const auto started = static_cast<pid_t>(NumberIn(0));

  m_processes->Kill("service");

  EXPECT_FALSE(State().running);
  EXPECT_TRUE(IsGone(started));
}

TEST_F(BenchProcesses, RestartsAKilledProgram) {
  Make("echo $$; exec sleep 100000", true);
  const double first = NumberIn(0);

  m_processes->Kill("service");

  EXPECT_NE(NumberIn(1), first);
}

TEST_F(BenchProcesses, LeavesAKilledProgramDownWithoutRestart) {
  Make("echo $$; exec sleep 100000", true);
  NumberIn(0);

  m_processes->SetRestart("service", false);
  m_processes->Kill("service");
  const double killed = m_clock.Elapsed();
  Await([&] { return m_clock.Elapsed() > killed + 3; });
  EXPECT_FALSE(State().running);

  m_processes->Start("service");
  EXPECT_TRUE(State().running);
}

TEST_F(BenchProcesses, TellsWhenAProgramIsStoppedByASignal) {
  Make("echo $$; exec sleep 100000");
  const auto pid = static_cast<pid_t>(NumberIn(0));

  kill(pid, SIGSTOP);
  EXPECT_TRUE(Await([this] { return State().stopped; }));
  EXPECT_THAT(State().text, StartsWith("stopped (SIGSTOP), started at "));
  EXPECT_TRUE(State().running);

  kill(pid, SIGCONT);
  EXPECT_TRUE(Await([this] { return !State().stopped; }));
  EXPECT_THAT(State().text, StartsWith("running since "));
}

TEST_F(BenchProcesses, EndsEveryProgramAtItsOwnEnd) {
  Make("trap '' TERM; echo $$; while :; do sleep 1; done");
  const auto pid = static_cast<pid_t>(NumberIn(0));

  m_processes.reset();

  EXPECT_TRUE(IsGone(pid));
}

TEST_F(BenchProcesses, RefusesAnUnknownName) {
  Make("exit 0");

  EXPECT_THROW(m_processes->Kill("cloud"), std::invalid_argument);
}

// The program "service" in the care of somebody else, whom a test plays.
class BenchWatchedProcess : public ::testing::Test {
 protected:
  ProcessState State() { return m_processes.State("service"); }

  Clock m_clock{};
  std::atomic<pid_t> m_pid{0};
  Processes m_processes{m_clock,
                        {{.name = "service", .find = [this] { return m_pid.load(); }}},
                        [](const std::string&, const std::string&) {}};
};

TEST_F(BenchWatchedProcess, FollowsItByItsProcess) {
  m_processes.Start("service");
  EXPECT_FALSE(State().running);

  m_pid = 101;
  EXPECT_TRUE(Await([this] { return State().running && State().restarts == 0; }));
  m_pid = 102;
  EXPECT_TRUE(Await([this] { return State().pid == 102 && State().restarts == 1; }));
  m_pid = 0;
  EXPECT_TRUE(Await([this] { return !State().running; }));
  EXPECT_THAT(State().text, StartsWith("ended at "));
  EXPECT_THAT(State().text, EndsWith("; its supervisor does not tell why"));
}

TEST_F(BenchWatchedProcess, IsKilledWithWhatItHasStarted) {
  Child child({"sh", "-c", "sleep 100000 & echo $!; wait"}, {});
  const auto started = child.ReadLine(std::chrono::seconds(5));
  ASSERT_TRUE(started);
  m_pid = child.Pid();
  ASSERT_TRUE(Await([this] { return State().running; }));

  std::thread supervisor([&] {
    siginfo_t about{};
    waitid(P_PID, static_cast<id_t>(child.Pid()), &about, WEXITED | WNOWAIT);
    m_pid = 0;
  });
  m_processes.Kill("service");
  supervisor.join();

  EXPECT_TRUE(IsGone(static_cast<pid_t>(std::strtol(started->c_str(), nullptr, 10))));
  EXPECT_EQ(child.Ended()->signal, SIGKILL);
}

TEST_F(BenchWatchedProcess, IsNotStopped) {
  EXPECT_THROW(m_processes.Stop("service"), std::invalid_argument);
}

// The owner runs in a process of its own, which is killed.
TEST(BenchChild, DiesWithItsOwner) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  const pid_t owner = fork();
  if (owner == 0) {
    Child child({"sh", "-c", "echo up; exec sleep 100000"}, {});
    child.ReadLine(std::chrono::seconds(5));
    const pid_t pid = child.Pid();
    if (write(ends[1], &pid, sizeof pid) != sizeof pid) _exit(1);
    for (;;) pause();
  }
  pid_t child = 0;
  ASSERT_EQ(read(ends[0], &child, sizeof child), static_cast<ssize_t>(sizeof child));

  kill(owner, SIGKILL);
  waitpid(owner, nullptr, 0);

  EXPECT_TRUE(IsGone(child));
}

TEST(BenchChild, SaysThatAProgramCannotBeStarted) {
  Child child({"/nowhere/program"}, {});

  EXPECT_EQ(child.ReadLine(std::chrono::seconds(5)), "/nowhere/program cannot be started");
  EXPECT_EQ(child.Await(std::chrono::seconds(5))->status, 127);
}

TEST(BenchChild, InheritsNoDescriptorOfOurs) {
  constexpr int kFrom = 50;
  const int ours = fcntl(STDOUT_FILENO, F_DUPFD, kFrom);  // without the mark to close it
  Child child(
      {"sh", "-c", "[ -e /proc/self/fd/" + std::to_string(ours) + " ] && echo open; echo done"},
      {});

  EXPECT_EQ(child.ReadLine(std::chrono::seconds(10)), "done");
  close(ours);
}

}  // namespace
