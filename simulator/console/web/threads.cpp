#include "console/web/threads.h"

#include <mutex>
#include <utility>

namespace console {

void Threads::Run(std::function<void()> task) {
  const std::lock_guard lock(m_mutex);
  m_tasks.push_back(std::move(task));
  if (m_tasks.size() > m_idle && m_threads.size() < m_most) {
    m_threads.emplace_back([this] { Work(); });
  }
  m_changed.notify_one();
}

void Threads::Join() {
  std::vector<std::thread> threads;
  {
    const std::lock_guard lock(m_mutex);
    m_isEnding = true;
    threads.swap(m_threads);
    m_changed.notify_all();
  }
  for (std::thread& thread : threads) thread.join();
}

void Threads::Work() {
  std::unique_lock lock(m_mutex);
  while (true) {
    ++m_idle;
    m_changed.wait(lock, [this] { return m_isEnding || !m_tasks.empty(); });
    --m_idle;
    if (m_tasks.empty()) return;
    const std::function<void()> task = std::move(m_tasks.front());
    m_tasks.pop_front();
    lock.unlock();
    task();
    lock.lock();
  }
}

}  // namespace console
