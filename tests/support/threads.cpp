#include "support/threads.h"

#include <pthread.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace test {
namespace {

constexpr std::chrono::seconds kPatience{20};  // a deadline; a sound test never takes as long

enum class Order { kWait, kResume, kEnd };

struct ParkedThread {
  ThreadEntry entry;
  Order order = Order::kWait;
};

struct ThreadsState {
  std::mutex mutex;
  std::condition_variable changed;
  std::list<ParkedThread> parked;
  bool failNext = false;
  ThreadMaking latest{};
  std::vector<ThreadMade> made;
};

ThreadsState& State() {
  static auto* state = new ThreadsState;  // never destroyed: parked threads use it at exit
  return *state;
}

thread_local ThreadEntry t_entry = nullptr;

struct Start {
  ThreadEntry entry;
  void* argument;
};

void* Run(void* start) {
  const std::unique_ptr<Start> owned(static_cast<Start*>(start));
  const Start copy = *owned;
  t_entry = copy.entry;
  return copy.entry(copy.argument);
}

int CountParked(ThreadEntry entry) {
  int count = 0;
  for (const auto& thread : State().parked) {
    if (thread.entry == entry && thread.order == Order::kWait) ++count;
  }
  return count;
}

void Give(ThreadEntry entry, Order order) {
  const std::lock_guard lock(State().mutex);
  for (auto& thread : State().parked) {
    if (thread.entry == entry) thread.order = order;
  }
  State().changed.notify_all();
}

void Remember(const pthread_attr_t* attributes) {
  if (attributes == nullptr) return;
  int detachState = 0;
  std::size_t stackBytes = 0;
  pthread_attr_getdetachstate(attributes, &detachState);
  pthread_attr_getstacksize(attributes, &stackBytes);
  State().latest = {stackBytes, detachState == PTHREAD_CREATE_DETACHED};
}

// Looks the thread up: others may have been created meanwhile, and ForgetThreads may have been
// called.
void RememberId(ThreadEntry entry, void* argument, pthread_t id) {
  for (auto& thread : State().made) {
    if (thread.entry == entry && thread.argument == argument && thread.id == 0) thread.id = id;
  }
}

}  // namespace

bool AwaitParked(ThreadEntry entry, int count) {
  std::unique_lock lock(State().mutex);
  return State().changed.wait_for(lock, kPatience, [&] { return CountParked(entry) >= count; });
}

int ParkedThreads(ThreadEntry entry) {
  const std::lock_guard lock(State().mutex);
  return CountParked(entry);
}

void ResumeThreads(ThreadEntry entry) {
  Give(entry, Order::kResume);
}

void EndThreads(ThreadEntry entry) {
  Give(entry, Order::kEnd);
}

void FailNextThread() {
  const std::lock_guard lock(State().mutex);
  State().failNext = true;
}

ThreadMaking LatestThread() {
  const std::lock_guard lock(State().mutex);
  return State().latest;
}

std::vector<ThreadEntry> ThreadsMade() {
  std::vector<ThreadEntry> entries;
  for (const auto& thread : ThreadsMadeInFull()) entries.push_back(thread.entry);
  return entries;
}

std::vector<ThreadMade> ThreadsMadeInFull() {
  const std::lock_guard lock(State().mutex);
  return State().made;
}

void ForgetThreads() {
  const std::lock_guard lock(State().mutex);
  State().made.clear();
}

void ParkThisThread() {
  std::unique_lock lock(State().mutex);
  const auto self = State().parked.insert(State().parked.end(), ParkedThread{t_entry});
  State().changed.notify_all();
  State().changed.wait(lock, [&] { return self->order != Order::kWait; });
  const Order order = self->order;
  State().parked.erase(self);
  lock.unlock();
  if (order == Order::kEnd) pthread_exit(nullptr);
}

}  // namespace test

extern "C" {

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          test::ThreadEntry entry, void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          test::ThreadEntry entry, void* argument) {
  {
    const std::lock_guard lock(test::State().mutex);
    test::Remember(attributes);
    test::State().made.push_back({entry, argument, 0});
    if (std::exchange(test::State().failNext, false)) return EAGAIN;
  }
  auto start = std::make_unique<test::Start>(test::Start{entry, argument});
  const int result = __real_pthread_create(thread, attributes, test::Run, start.get());
  if (result != 0) return result;
  static_cast<void>(start.release());  // Run owns it now
  const std::lock_guard lock(test::State().mutex);
  test::RememberId(entry, argument, *thread);
  if (attributes != nullptr) test::State().latest.id = *thread;
  return 0;
}

}  // extern "C"
