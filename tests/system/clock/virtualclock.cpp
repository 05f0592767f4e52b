#include "system/clock/virtualclock.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <set>

namespace test {
namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1000000;
constexpr int kSecondMilliseconds = 1000;
constexpr int kLookMilliseconds = 3;  // the time that a silent server's byte may take to arrive

// A lock that the thread sanitizer does not see. A pthread mutex around every sleep would look like
// an order between the service's threads and hide their races.
class UnseenLock {
 public:
  void lock() {
    while (m_held.test_and_set(std::memory_order_acquire)) m_held.wait(true);
  }
  void unlock() {
    m_held.clear(std::memory_order_release);
    m_held.notify_one();
  }

 private:
  std::atomic_flag m_held;
};

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// A thread that waits for a mutex.
struct Waiter {
  const pthread_mutex_t* mutex;
  bool blocked = true;  // until the mutex is unlocked
};

// The service's side of the clock. All threads of the service may call it.
class VirtualClock {
 public:
  VirtualClock() : m_face(MapFace()) {}

  std::time_t Now() const {
    return static_cast<std::time_t>(m_face->nowMicroseconds.load() / kMicrosecondsPerSecond +
                                    m_face->wallAhead.load());
  }

  void Sleep(std::int64_t microseconds) {
    std::unique_lock lock(m_lock);
    const std::int64_t waking = m_face->nowMicroseconds.load() + microseconds;
    const auto self = m_wakings.insert(waking);
    while (m_face->nowMicroseconds.load() < waking) AwaitMove(lock);
    m_wakings.erase(self);
  }

  timespec Monotonic() const {
    const std::int64_t now = m_face->nowMicroseconds.load();
    return {.tv_sec = static_cast<std::time_t>(now / kMicrosecondsPerSecond),
            .tv_nsec = static_cast<long>(now % kMicrosecondsPerSecond * 1000)};
  }

  int Poll(pollfd* files, nfds_t count, int milliseconds) {
    for (int looked = 0;; looked += kLookMilliseconds) {
      const int look =
          milliseconds < 0 ? kLookMilliseconds : std::min(milliseconds, kLookMilliseconds);
      const int ready = m_poll(files, count, look);
      if (ready != 0 || milliseconds == 0) return ready;
      if (m_face->silences.load() > 0) {
        const int slept =
            milliseconds < 0 ? kSecondMilliseconds : std::min(milliseconds, kSecondMilliseconds);
        Sleep(std::int64_t{slept} * 1000);
        if (milliseconds > 0) return m_poll(files, count, 0);
      }
      if (milliseconds > 0 && looked >= milliseconds) return 0;
    }
  }

  // Counts as asleep while it waits: the thread that holds the mutex may sleep, and time must go
  // on.
  int Lock(pthread_mutex_t* mutex) {
    int result = m_tryLock(mutex);
    while (result == EBUSY) {
      std::unique_lock lock(m_lock);
      Waiter self{mutex};
      m_waiters.insert(&self);
      ++m_waiterCount;
      result = m_tryLock(mutex);  // again: an unlock may have come before this thread was a waiter
      while (result == EBUSY && self.blocked) AwaitMove(lock);
      --m_waiterCount;
      m_waiters.erase(&self);
      lock.unlock();
      if (result == EBUSY) result = m_tryLock(mutex);
    }
    return result;
  }

  int Unlock(pthread_mutex_t* mutex) {
    const int result = m_unlock(mutex);
    std::atomic_thread_fence(std::memory_order_seq_cst);
    if (m_waiterCount.load() == 0) return result;
    const std::lock_guard lock(m_lock);
    for (Waiter* waiter : m_waiters) {
      if (waiter->mutex == mutex) waiter->blocked = false;
    }
    AnnounceChange(m_face);
    return result;
  }

  void AddThread() { ++m_face->threads; }

  void RemoveThread() {
    const std::lock_guard lock(m_lock);
    --m_face->threads;
    AnnounceChange(m_face);
  }

 private:
  static ClockFace* MapFace() {
    const char* path = std::getenv(kClockFileVariable);
    const int file = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
    void* memory = mmap(nullptr, sizeof(ClockFace), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) abort();
    close(file);
    unsetenv("LD_PRELOAD");  // the shell and tar run on the real time
    return static_cast<ClockFace*>(memory);
  }

  // Moves the time, or waits for a change.
  void AwaitMove(std::unique_lock<UnseenLock>& lock) {
    const std::uint32_t seen = m_face->changes.load();
    if (Advance()) return;
    lock.unlock();
    AwaitChange(m_face, seen);
    lock.lock();
  }

  std::size_t IdleThreads() const {
    const auto blocked =
        std::ranges::count_if(m_waiters, [](const Waiter* waiter) { return waiter->blocked; });
    return m_wakings.size() + static_cast<std::size_t>(blocked);
  }

  // Moves the time to the next waking if every thread sleeps or waits for a sleeping one, and the
  // limit allows it. Returns whether it moved. Called with the lock held.
  bool Advance() {
    if (m_wakings.empty() || IdleThreads() < m_face->threads.load()) return false;
    const std::int64_t next = *m_wakings.begin();
    if (next <= m_face->nowMicroseconds.load()) return false;  // that thread is about to wake
    const std::int64_t limit = m_face->limitMicroseconds.load();
    if (next > limit) {
      if (m_face->restedAt.exchange(limit) != limit) AnnounceChange(m_face);
      return false;
    }
    m_face->nowMicroseconds = next;
    AnnounceChange(m_face);
    return true;
  }

  ClockFace* m_face;
  int (*m_tryLock)(pthread_mutex_t*) = Next<int(pthread_mutex_t*)>("pthread_mutex_trylock");
  int (*m_unlock)(pthread_mutex_t*) = Next<int(pthread_mutex_t*)>("pthread_mutex_unlock");
  int (*m_poll)(pollfd*, nfds_t, int) = Next<int(pollfd*, nfds_t, int)>("poll");
  UnseenLock m_lock;                      // guards both sets and the moves of the time
  std::multiset<std::int64_t> m_wakings;  // when the threads that sleep now will wake
  std::set<Waiter*> m_waiters;            // the threads that wait for a mutex now
  std::atomic<std::size_t> m_waiterCount = 0;
};

VirtualClock& Clock() {
  static auto* clock = new VirtualClock;  // outlives the threads that sleep at exit
  return *clock;
}

// Made before the service's main runs.
[[maybe_unused]] const bool kReady = (Clock(), true);

using Entry = void* (*)(void*);

struct Start {
  Entry entry;
  void* argument;
};

// Counts the thread out, however it ends.
struct Presence {
  Presence() = default;
  ~Presence() { Clock().RemoveThread(); }
  Presence(const Presence&) = delete;
  Presence& operator=(const Presence&) = delete;
};

void* Run(void* start) {
  const std::unique_ptr<Start> owned(static_cast<Start*>(start));
  const Presence presence;
  return owned->entry(owned->argument);
}

}  // namespace
}  // namespace test

extern "C" {

std::time_t time(std::time_t* out) noexcept {
  const std::time_t now = test::Clock().Now();
  if (out != nullptr) *out = now;
  return now;
}

unsigned sleep(unsigned seconds) {
  test::Clock().Sleep(std::int64_t{seconds} * test::kMicrosecondsPerSecond);
  return 0;
}

int usleep(useconds_t microseconds) {
  test::Clock().Sleep(microseconds);
  return 0;
}

int clock_gettime(clockid_t clock, timespec* out) noexcept {
  static const auto real = test::Next<int(clockid_t, timespec*)>("clock_gettime");
  if (clock != CLOCK_MONOTONIC && clock != CLOCK_MONOTONIC_RAW) return real(clock, out);
  *out = test::Clock().Monotonic();
  return 0;
}

int poll(pollfd* files, nfds_t count, int milliseconds) {
  return test::Clock().Poll(files, count, milliseconds);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  return test::Clock().Lock(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
  return test::Clock().Unlock(mutex);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, test::Entry entry,
                   void* argument) noexcept {
  static const auto real =
      test::Next<int(pthread_t*, const pthread_attr_t*, test::Entry, void*)>("pthread_create");
  auto start = std::make_unique<test::Start>(test::Start{entry, argument});
  test::Clock().AddThread();
  const int result = real(thread, attributes, test::Run, start.get());
  if (result == 0) {
    static_cast<void>(start.release());  // the thread owns it now
  } else {
    test::Clock().RemoveThread();
  }
  return result;
}

}  // extern "C"
