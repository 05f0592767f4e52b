// The server's threads.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <thread>
#include <vector>

#include "util/mutex.h"

namespace console {

// Runs tasks, each on a thread that has nothing else to do. A thread is started when none is idle,
// up to a limit; beyond it tasks wait. An open event stream keeps its thread, so the limit bounds
// the number of pages. Any thread may call.
class Threads {
 public:
  explicit Threads(std::size_t most) : m_most(most) {}
  ~Threads() { Join(); }
  Threads(const Threads&) = delete;
  Threads& operator=(const Threads&) = delete;

  void Run(std::function<void()> task);
  // Waits until all tasks have run, and ends the threads. The last call.
  void Join();

 private:
  void Work();

  const std::size_t m_most;
  util::Mutex m_mutex{};  // guards all below
  std::condition_variable_any m_changed{};
  std::deque<std::function<void()>> m_tasks{};
  std::vector<std::thread> m_threads{};
  std::size_t m_idle = 0;  // threads that wait for a task
  bool m_isEnding = false;
};

}  // namespace console
