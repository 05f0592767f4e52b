#include "main/staging.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "historydata/historydata.h"
#include "util/directory.h"
#include "util/file.h"

namespace status {
namespace {

constexpr std::array<int, 3> kSignals = {SIGINT, SIGTERM, SIGHUP};
constexpr std::size_t kLongestPath = 4096;
constexpr long kLookNanoseconds = 5'000'000;

volatile std::sig_atomic_t g_interrupted = 0;

std::array<struct sigaction, kSignals.size()>& Former() {
  static std::array<struct sigaction, kSignals.size()> former{};
  return former;
}

// Waits for the end. It looks again and again: a signal may come before any waiting call.
int AwaitEnd(pid_t process) {
  int outcome = 0;
  for (pid_t ended = 0; ended == 0;) {
    ended = waitpid(process, &outcome, WNOHANG);
    if (ended < 0 && errno != EINTR) return -1;
    if (ended == process) break;
    ended = 0;
    if (Interruptible::Happened()) kill(process, SIGTERM);
    const timespec pause{0, kLookNanoseconds};
    nanosleep(&pause, nullptr);
  }
  return WIFEXITED(outcome) ? WEXITSTATUS(outcome) : -1;
}

}  // namespace

Interruptible::Interruptible() {
  g_interrupted = 0;
  struct sigaction action {};
  action.sa_handler = [](int) { g_interrupted = 1; };
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &action, &Former()[i]);
}

Interruptible::~Interruptible() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &Former()[i], nullptr);
}

bool Interruptible::Happened() {
  return g_interrupted != 0;
}

Staging::Staging() {
  const char* folder = std::getenv("TMPDIR");
  std::string path = folder != nullptr && *folder != '\0' ? folder : "/tmp";
  path += "/brennik-status-XXXXXX";
  if (mkdtemp(path.data()) != nullptr) m_path = path;
}

Staging::~Staging() {
  if (!m_path.empty()) RemoveDir(m_path.c_str());
}

std::uint64_t Staging::FreeBytes() const {
  struct statvfs about {};
  if (statvfs(m_path.c_str(), &about) != 0) return 0;
  return static_cast<std::uint64_t>(about.f_bavail) * about.f_frsize;
}

std::string Staging::Make(const std::string& name) const {
  std::string path = m_path + "/" + name;
  const std::string folder = path.substr(0, path.rfind('/'));
  util::MakeDirectories(folder.c_str(), kLongestPath, kLongestPath);
  return path;
}

bool Staging::Write(const std::string& name, std::string_view content) const {
  const util::File file(std::fopen(Make(name).c_str(), "wb"));
  if (!file) return false;
  return std::fwrite(content.data(), 1, content.size(), file.get()) == content.size() &&
         std::fflush(file.get()) == 0;
}

bool Staging::Capture(const std::string& name, const std::function<int()>& print) const {
  const std::string path = Make(name);
  std::fflush(stdout);
  const pid_t process = fork();
  if (process < 0) return false;
  if (process > 0) return AwaitEnd(process) >= 0;
  for (const int each : kSignals) signal(each, SIG_DFL);
  const util::Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (!file || dup2(file.Get(), STDOUT_FILENO) < 0) _exit(1);
  const int status = print();
  std::fflush(stdout);
  _exit(status);
}

int Run(const std::vector<std::string>& command, int output) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command)
    arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) return -1;
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t process = 0;
  const int error =
      posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? AwaitEnd(process) : -1;
}

}  // namespace status
