#include "caller.h"

#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <utility>

#include "support/files.h"

namespace test {
namespace {

constexpr std::chrono::milliseconds kBetweenLooks{2};
constexpr int kLooksAsleep = 50;
constexpr int kLooksInAll = 10'000;

// The kernel's letter for what the thread is doing: the first after its name in brackets.
char StateOf(pid_t thread) {
  const std::string stat = ReadFile("/proc/self/task/" + std::to_string(thread) + "/stat");
  const auto bracket = stat.rfind(") ");
  return bracket == std::string::npos ? '?' : stat[bracket + 2];
}

}  // namespace

Caller::Caller(std::function<void()> call) {
  std::thread([call = std::move(call), progress = m_progress] {
    progress->thread = gettid();
    call();
    progress->isOver = true;
  }).detach();
}

bool Caller::ComesBack() const {
  for (int look = 0; look < kLooksInAll; ++look) {
    if (m_progress->isOver) return true;
    std::this_thread::sleep_for(kBetweenLooks);
  }
  return false;
}

bool Caller::Waits() const {
  int asleep = 0;
  for (int look = 0; look < kLooksInAll && asleep < kLooksAsleep; ++look) {
    if (m_progress->isOver) return false;
    asleep = StateOf(m_progress->thread) == 'S' ? asleep + 1 : 0;
    std::this_thread::sleep_for(kBetweenLooks);
  }
  return asleep == kLooksAsleep;
}

}  // namespace test
