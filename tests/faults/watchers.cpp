#include "faults/watchers.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "faults/lockstatistics.h"
#include "system/support/ledger.h"
#include "util/timetext.h"

namespace test {
namespace {

constexpr std::size_t kQuickLoops = 4;
constexpr std::time_t kMinute = 60;

// The library of faketime, which its program only starts.
const std::string& FakeTimeLibrary() {
  static const std::string library = [] {
    std::FILE* const pipe = popen("faketime -f '@2024-03-07 12:00:00' printenv LD_PRELOAD", "r");
    char line[256]{};
    if (pipe == nullptr || std::fgets(line, sizeof(line), pipe) == nullptr) {
      throw std::runtime_error("faketime is missing");
    }
    pclose(pipe);
    return std::string(line).substr(0, std::string(line).find('\n'));
  }();
  return library;
}

std::string Program() {
  const char* other = std::getenv("BRENNIK_STATUS_PROGRAM");
  return other == nullptr ? BRENNIK_STATUS : other;
}

Words EnvironmentAt(std::time_t now) {
  Words variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    variables.emplace_back(*variable);
  }
  variables.push_back("LD_PRELOAD=" BRENNIK_LOCK_HOLDS ":" + FakeTimeLibrary());
  variables.push_back("FAKETIME=@" + util::TimeMark(*util::LocalTime(now)));
  variables.push_back(std::string("TMPDIR=") + kWatchersFolder);
  return variables;
}

std::vector<char*> Pointers(Words& words) {
  std::vector<char*> pointers;
  for (auto& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

std::vector<Words> QuickCommands(std::time_t now) {
  const std::time_t latest = now - now % kMinute - kMinute;
  return {{},
          {"--monitor"},
          {"gaps"},
          {"--json"},
          {"file", RealDataName(latest)},
          {"--metrics"},
          {"config"},
          {"log"},
          {"--metrics", std::string(kWatchersFolder) + "/brennik.prom"}};
}

std::vector<Words> SlowCommands(std::time_t now) {
  return {{"report", std::string(kWatchersFolder) + "/report.tar.gz"},
          {"wait", "--accepted", "--timeout", "1"},
          {"log", "--since", util::TimeMark(*util::LocalTime(now - kMinute))}};
}

int RunStatus(const Words& arguments, std::time_t now, const Words& before) {
  Words words = before;
  words.push_back(Program());
  words.insert(words.end(), arguments.begin(), arguments.end());
  Words variables = EnvironmentAt(now);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  const int failure = posix_spawnp(&pid, words[0].c_str(), &actions, nullptr,
                                   Pointers(words).data(), Pointers(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (failure != 0 || waitpid(pid, &status, 0) != pid) throw std::runtime_error(words[0]);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

Watchers::Counts& Watchers::Ended() {
  static Counts counts{};
  return counts;
}

Watchers::Watchers(std::function<std::time_t()> now) : m_now(std::move(now)) {
  for (std::size_t loop = 0; loop < kQuickLoops; ++loop) {
    m_threads.emplace_back([this, loop] { Loop(2 * loop, false); });
  }
  m_threads.emplace_back([this] { Loop(0, true); });
}

Watchers::~Watchers() {
  m_stops = true;
  for (auto& thread : m_threads) thread.join();
}

void Watchers::Loop(std::size_t first, bool slow) {
  for (std::size_t run = first; !m_stops; ++run) {
    const std::time_t now = m_now();
    const auto commands = slow ? SlowCommands(now) : QuickCommands(now);
    const int status = RunStatus(commands[run % commands.size()], now);
    ++Ended()[static_cast<std::size_t>(std::min(status, kStatuses - 1))];
  }
}

}  // namespace test
