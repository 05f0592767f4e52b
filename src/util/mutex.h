// A POSIX mutex with default attributes that std::lock_guard and std::unique_lock accept.
#pragma once

#include <pthread.h>

#include <atomic>

namespace util {

// The mutex type of the service. It holds a pthread_mutex_t and destroys it with the object, unless
// the mutex was abandoned.
class Mutex {
 public:
  Mutex() { pthread_mutex_init(&m_mutex, nullptr); }
  ~Mutex() {
    if (!m_isAbandoned) pthread_mutex_destroy(&m_mutex);
  }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // Lower case, as the standard library requires of a lockable type.
  void lock() { pthread_mutex_lock(&m_mutex); }
  bool try_lock() { return pthread_mutex_trylock(&m_mutex) == 0; }
  void unlock() { pthread_mutex_unlock(&m_mutex); }

  // The caller holds the mutex and will never unlock it. Every later lock() waits for ever, also
  // while the process ends.
  void Abandon() { m_isAbandoned = true; }
  bool IsAbandoned() const { return m_isAbandoned; }

 private:
  pthread_mutex_t m_mutex{};
  std::atomic<bool> m_isAbandoned{false};
};

}  // namespace util
