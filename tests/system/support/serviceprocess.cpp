#include "system/support/serviceprocess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <vector>

#include "support/files.h"

namespace test {
namespace {

constexpr char kClockFile[] = "/tmp/service-clock";
constexpr char kOutputFile[] = "/tmp/service-output";
constexpr std::int64_t kMicrosecondsPerSecond = 1000000;
// Deadlines for a broken service; a sound one never takes as long.
constexpr std::chrono::seconds kRestPatience{600};
constexpr std::chrono::seconds kEndPatience{60};
constexpr std::chrono::milliseconds kLook{2};  // between two looks whether the process has ended

// The last microsecond of a second: what falls into that second still happens.
std::int64_t EndOf(std::time_t moment) {
  return (moment + 1) * kMicrosecondsPerSecond - 1;
}

std::mutex g_faceMutex;
ClockFace* g_face = nullptr;  // the living service's; guarded by g_faceMutex

ClockFace* MakeFace(std::time_t start) {
  WriteFile(kClockFile, std::string(sizeof(ClockFace), '\0'));
  const int file = open(kClockFile, O_RDWR | O_CLOEXEC);
  void* memory = mmap(nullptr, sizeof(ClockFace), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (memory == MAP_FAILED) throw std::runtime_error("cannot map the clock");
  auto* face = new (memory) ClockFace{};
  face->nowMicroseconds = start * kMicrosecondsPerSecond;
  face->limitMicroseconds = EndOf(start);
  face->threads = 1;
  const std::lock_guard lock(g_faceMutex);
  g_face = face;
  return face;
}

// The environment's value of a variable, or another one.
std::string Setting(const char* variable, const std::string& otherwise) {
  const char* value = std::getenv(variable);
  return value == nullptr ? otherwise : value;
}

// The test's environment with the clock preloaded.
std::vector<std::string> ServiceEnvironment() {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    if (!std::string_view(*variable).starts_with("ASAN_OPTIONS="))
      variables.emplace_back(*variable);
  }
  // The address sanitizer wants to be the first library; the clock before it does no harm.
  variables.push_back("ASAN_OPTIONS=verify_asan_link_order=0:" + Setting("ASAN_OPTIONS", ""));
  const std::string preload =
      "LD_PRELOAD=" + Setting("BRENNIK_VIRTUAL_CLOCK", BRENNIK_VIRTUAL_CLOCK);
  // An emulator is a program of this machine; the clock is for the program that it runs.
  const bool emulated = std::getenv("QEMU_LD_PREFIX") != nullptr;
  variables.push_back(emulated ? "QEMU_SET_ENV=" + preload : preload);
  variables.push_back(std::string(kClockFileVariable) + "=" + kClockFile);
  return variables;
}

pid_t StartService() {
  std::vector<std::string> variables = ServiceEnvironment();
  std::vector<char*> environment;
  for (auto& variable : variables) environment.push_back(variable.data());
  environment.push_back(nullptr);
  const std::string service = Setting("BRENNIK_SERVICE", BRENNIK_SERVICE);
  std::string name = "brennik";
  char* arguments[] = {name.data(), nullptr};

  const pid_t pid = fork();
  if (pid != 0) return pid;
  const int output = open(kOutputFile, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  // A caller that ignores SIGPIPE would hand that on and hide what the service does about it.
  signal(SIGPIPE, SIG_DFL);
  execve(service.c_str(), arguments, environment.data());
  _exit(127);
}

}  // namespace

ServiceProcess::ServiceProcess(std::time_t start)
    : m_face(MakeFace(start)), m_limit(start), m_pid(StartService()) {
  AwaitRest();
}

ServiceProcess::~ServiceProcess() {
  const bool endedByItself = HasEnded();
  if (!endedByItself) {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
  }
  const std::string output = Output();
  for (const std::string_view mark : {"Sanitizer", "runtime error:"}) {
    EXPECT_EQ(output.find(mark), std::string::npos) << output;
  }
  EXPECT_TRUE(!endedByItself || m_endExpected)
      << "the service has ended with status " << *m_exitStatus << "; it has printed:\n"
      << output;
  const std::lock_guard lock(g_faceMutex);
  g_face = nullptr;  // a server's thread may still call SpeakAgain
  munmap(m_face, sizeof(ClockFace));
}

bool ServiceProcess::RunUntil(std::time_t moment) {
  LetRunUntil(moment);
  return AwaitRest();
}

void ServiceProcess::LetRunUntil(std::time_t moment) {
  m_limit = moment;
  m_face->limitMicroseconds = EndOf(moment - m_face->wallAhead);
  AnnounceChange(m_face);
}

bool ServiceProcess::AwaitRest() {
  const auto deadline = std::chrono::steady_clock::now() + kRestPatience;
  while (std::chrono::steady_clock::now() < deadline) {
    const std::uint32_t seen = m_face->changes;
    if (m_face->restedAt == m_face->limitMicroseconds || HasEnded()) return true;
    AwaitChange(m_face, seen, kLook);
  }
  ADD_FAILURE() << "the service does not come to rest; it has printed:\n" << Output();
  return false;
}

std::optional<int> ServiceProcess::RunToItsEnd(std::time_t latest) {
  LetRunUntil(latest);
  const auto deadline = std::chrono::steady_clock::now() + kEndPatience;
  while (!ExitStatus() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kLook);
  }
  return m_exitStatus;
}

void ServiceProcess::SetWallClock(std::time_t moment) {
  m_face->wallAhead += moment - m_limit;
  m_limit = moment;
}

void ServiceProcess::FallSilent() {
  const std::lock_guard lock(g_faceMutex);
  if (g_face != nullptr) ++g_face->silences;
}

void ServiceProcess::SpeakAgain() {
  const std::lock_guard lock(g_faceMutex);
  if (g_face != nullptr) --g_face->silences;
}

std::time_t ServiceProcess::Now() const {
  return static_cast<std::time_t>(m_face->nowMicroseconds.load() / kMicrosecondsPerSecond +
                                  m_face->wallAhead.load());
}

std::optional<int> ServiceProcess::ExitStatus() {
  m_endExpected = true;
  HasEnded();
  return m_exitStatus;
}

bool ServiceProcess::HasEnded() {
  int status = 0;
  if (!m_exitStatus && waitpid(m_pid, &status, WNOHANG) == m_pid) {
    m_exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  return m_exitStatus.has_value();
}

long ServiceProcess::PeakKib() const {
  constexpr std::string_view kMark = "VmHWM:";
  const std::string status = ReadFile("/proc/" + std::to_string(m_pid) + "/status");
  const auto at = status.find(kMark);
  return at == std::string::npos ? 0 : std::stol(status.substr(at + kMark.size()));
}

std::string ServiceProcess::Output() const {
  return ReadFile(kOutputFile);
}

}  // namespace test
