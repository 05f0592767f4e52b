// A POSIX mutex with default attributes that std::lock_guard and std::unique_lock accept.
#pragma once

#include <pthread.h>

#include <atomic>

namespace util {

// What it is for: the one mutex type of the service.
// Threads: any. Owns: the pthread_mutex_t, destroyed with the object unless it was abandoned.
class Mutex {
 public:
  Mutex() { pthread_mutex_init(&m_mutex, nullptr); }
  ~Mutex() {
    if (!m_isAbandoned) pthread_mutex_destroy(&m_mutex);
  }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // The lower-case names are the standard library's for a lockable type.
  void lock() { pthread_mutex_lock(&m_mutex); }
  bool try_lock() { return pthread_mutex_trylock(&m_mutex) == 0; }
  void unlock() { pthread_mutex_unlock(&m_mutex); }

  // The caller holds the mutex and never gives it back: whoever waits at it waits for good, also
  // while the process ends.
  void Abandon() { m_isAbandoned = true; }
  bool IsAbandoned() const { return m_isAbandoned; }

 private:
  pthread_mutex_t m_mutex{};
  std::atomic<bool> m_isAbandoned{false};
};

}  // namespace util
