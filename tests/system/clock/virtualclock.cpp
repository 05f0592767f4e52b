#include "system/clock/virtualclock.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <set>

namespace test {
namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1000000;
constexpr std::chrono::milliseconds kLookAtLimit{
    1};  // real time between two looks at the test's word

// What it is for: the process's side of the clock. Threads: all of the process's.
class VirtualClock {
 public:
  VirtualClock() : m_face(MapFace()) {}

  std::time_t Now() const {
    return static_cast<std::time_t>(m_face->nowMicroseconds.load() / kMicrosecondsPerSecond);
  }

  void Sleep(std::int64_t microseconds) {
    std::unique_lock lock(m_mutex);
    const std::int64_t waking = m_face->nowMicroseconds.load() + microseconds;
    const auto self = m_wakings.insert(waking);
    while (m_face->nowMicroseconds.load() < waking) {
      if (!Advance()) m_moved.wait_for(lock, kLookAtLimit);
    }
    m_wakings.erase(self);
  }

  void AddThread() { ++m_face->threads; }

  void RemoveThread() {
    const std::lock_guard lock(m_mutex);
    --m_face->threads;
    m_moved.notify_all();
  }

 private:
  static ClockFace* MapFace() {
    const char* path = std::getenv(kClockFileVariable);
    const int file = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
    void* memory = mmap(nullptr, sizeof(ClockFace), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) abort();
    close(file);
    unsetenv("LD_PRELOAD");  // the shell and tar keep the real time
    return static_cast<ClockFace*>(memory);
  }

  // Moves the time to the next waking when every thread sleeps and the limit allows it; says
  // whether it moved. Called with the lock held, by a sleeping thread.
  bool Advance() {
    if (m_wakings.size() < m_face->threads.load()) return false;
    const std::int64_t next = *m_wakings.begin();
    if (next <= m_face->nowMicroseconds.load()) return false;  // somebody is about to wake
    const std::int64_t limit = m_face->limitMicroseconds.load();
    if (next > limit) {
      m_face->restedAt = limit;
      return false;
    }
    m_face->nowMicroseconds = next;
    m_moved.notify_all();
    return true;
  }

  ClockFace* m_face;
  std::mutex m_mutex;  // guards m_wakings and the moves of the time
  std::condition_variable m_moved;
  std::multiset<std::int64_t> m_wakings;  // of the threads that sleep now
};

VirtualClock& Clock() {
  static auto* clock = new VirtualClock;  // outlives the threads that sleep at exit
  return *clock;
}

// Made before anything of the process runs.
[[maybe_unused]] const bool kReady = (Clock(), true);

using Entry = void* (*)(void*);

struct Start {
  Entry entry;
  void* argument;
};

// Counts the thread out on every way of ending.
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

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, test::Entry entry,
                   void* argument) noexcept {
  using Create = int (*)(pthread_t*, const pthread_attr_t*, test::Entry, void*);
  static const auto real = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  auto start = std::make_unique<test::Start>(test::Start{entry, argument});
  test::Clock().AddThread();
  const int result = real(thread, attributes, test::Run, start.get());
  if (result == 0) {
    static_cast<void>(start.release());  // the thread's own now
  } else {
    test::Clock().RemoveThread();
  }
  return result;
}

}  // extern "C"
