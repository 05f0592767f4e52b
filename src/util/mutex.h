// A POSIX mutex with default attributes that std::lock_guard and std::unique_lock accept.
#pragma once

#include <pthread.h>

namespace util {

// What it is for: the one mutex type of the service.
// Threads: any. Owns: the pthread_mutex_t, destroyed with the object.
class Mutex {
 public:
  Mutex() { pthread_mutex_init(&m_mutex, nullptr); }
  ~Mutex() { pthread_mutex_destroy(&m_mutex); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  // The lower-case names are the standard library's for a lockable type.
  void lock() { pthread_mutex_lock(&m_mutex); }
  bool try_lock() { return pthread_mutex_trylock(&m_mutex) == 0; }
  void unlock() { pthread_mutex_unlock(&m_mutex); }

 private:
  pthread_mutex_t m_mutex{};
};

}  // namespace util
