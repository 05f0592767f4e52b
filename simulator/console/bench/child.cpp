#include "console/bench/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "util/text.h"

namespace console {
namespace {

constexpr int kCannotStart = 127;
constexpr std::size_t kBlockBytes = 4096;
constexpr std::chrono::milliseconds kLookAgain{2};

struct Pipe {
  Pipe() {
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("cannot make a pipe");
  }
  std::array<int, 2> ends{-1, -1};  // to read, to write
};

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// Our environment with the variables in it.
std::vector<std::string> With(const std::vector<std::string>& variables) {
  std::vector<std::string> all = variables;
  for (char** one = environ; *one != nullptr; ++one) {
    const std::string_view text = *one;
    const std::string_view name = text.substr(0, text.find('=') + 1);
    bool isReplaced = false;
    for (const std::string& variable : variables) isReplaced |= variable.starts_with(name);
    if (!isReplaced) all.emplace_back(text);
  }
  return all;
}

void Say(const char* text) {
  [[maybe_unused]] const auto written = write(STDERR_FILENO, text, std::strlen(text));
}

// In the child, after the fork: only calls that a process with threads may make here.
[[noreturn]] void Become(char* const* command, char* const* environment, pid_t parent, int input,
                         int output) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(kCannotStart);  // it ended before we asked for the signal
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  signal(SIGPIPE, SIG_DFL);  // a server here ignores it
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  close_range(STDERR_FILENO + 1, ~0U, 0);  // libraries do not mark all of theirs
  execvpe(command[0], command, environment);
  Say(command[0]);
  Say(" cannot be started\n");
  _exit(kCannotStart);
}

}  // namespace

// "PID (NAME) STATE …"; a name may hold anything, brackets included.
bool IsStopped(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string stat;
  std::getline(file, stat);
  const std::size_t end = stat.rfind(')');
  return end != std::string::npos && stat.substr(end).starts_with(") T");
}

std::string End::Text() const {
  if (signal != 0) return util::Format("killed by signal %d", signal);
  return util::Format("ended with status %d", status);
}

Child::Child(const std::vector<std::string>& command, const std::vector<std::string>& environment) {
  const Pipe in;
  const Pipe out;
  const std::vector<std::string> variables = With(environment);
  const std::vector<char*> words = Pointers(command);
  const std::vector<char*> settings = Pointers(variables);
  const pid_t parent = getpid();
  m_pid = fork();
  if (m_pid == 0) Become(words.data(), settings.data(), parent, in.ends[0], out.ends[1]);
  close(in.ends[0]);
  close(out.ends[1]);
  m_input.emplace(in.ends[1]);
  m_output.emplace(out.ends[0]);
  if (m_pid < 0) throw std::runtime_error("cannot make a process");
  setpgid(m_pid, m_pid);  // whichever of the two is first
  fcntl(m_output->Get(), F_SETFL, O_NONBLOCK);
}

Child::~Child() {
  while (!Ended()) {
    Kill();
    std::this_thread::sleep_for(kLookAgain);
  }
}

void Child::TakeLines(const std::function<void(const std::string&)>& take) {
  Fill();
  std::size_t from = 0;
  for (auto end = m_text.find('\n'); end != std::string::npos; end = m_text.find('\n', from)) {
    take(m_text.substr(from, end - from));
    from = end + 1;
  }
  m_text.erase(0, from);
  if (!m_end || m_text.empty()) return;
  take(m_text);
  m_text.clear();
}

std::optional<std::string> Child::ReadLine(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    Fill();
    if (const auto end = m_text.find('\n'); end != std::string::npos) {
      std::string line = m_text.substr(0, end);
      m_text.erase(0, end + 1);
      return line;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0 || Ended()) return {};
    pollfd waiting{Output(), POLLIN, 0};
    poll(&waiting, 1, static_cast<int>(left.count()));
  }
}

void Child::Ask() const {
  if (!m_end) kill(m_pid, SIGTERM);
}

void Child::Kill() const {
  if (!m_end) kill(-m_pid, SIGKILL);
}

// The rest of the group is killed while the ended program still holds its number.
std::optional<End> Child::Ended() {
  if (m_end) return m_end;
  siginfo_t about{};
  if (waitid(P_PID, static_cast<id_t>(m_pid), &about, WEXITED | WNOHANG | WNOWAIT) == 0) {
    if (about.si_pid == 0) return {};
    kill(-m_pid, SIGKILL);
  }
  int status = 0;
  waitpid(m_pid, &status, 0);
  m_end = End{.status = WIFEXITED(status) ? WEXITSTATUS(status) : 0,
              .signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0};
  return m_end;
}

std::optional<End> Child::Await(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!Ended() && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(kLookAgain);
  return m_end;
}

void Child::Fill() {
  std::array<char, kBlockBytes> block{};
  for (;;) {
    const ssize_t got = read(Output(), block.data(), block.size());
    if (got <= 0) return;
    m_text.append(block.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace console
