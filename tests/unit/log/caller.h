// Somebody else who calls into the stores, and may have to wait there.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <functional>
#include <memory>

namespace test {

// What it is for: one call on a thread of its own, which nobody joins: it may never come back.
// Threads: the test's. Owns: nothing that the thread needs; it keeps its own.
class Caller {
 public:
  explicit Caller(std::function<void()> call);

  // Waits until the call is over; false when it is not after 20 s.
  bool ComesBack() const;
  // Waits until the call sleeps and is found sleeping again and again; false when it is over.
  bool Waits() const;

 private:
  struct Progress {
    std::atomic<pid_t> thread{0};
    std::atomic<bool> isOver{false};
  };
  std::shared_ptr<Progress> m_progress = std::make_shared<Progress>();
};

}  // namespace test
