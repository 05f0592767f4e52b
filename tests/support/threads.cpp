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
  std::vector<ThreadMade> made;
};

ThreadsState& State() {
  static auto* state = new ThreadsState;  // never destroyed: parked threads use it at exit
  return *state;
}

thread_local ThreadEntry t_entry = nullptr;

void* Run(void* start) {
  const std::unique_ptr<ThreadMade> owned(static_cast<ThreadMade*>(start));
  const ThreadMade copy = *owned;
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

void Remember(ThreadMade thread, const pthread_attr_t* attributes) {
  int detachState = 0;
  pthread_attr_getdetachstate(attributes, &detachState);
  pthread_attr_getstacksize(attributes, &thread.stackBytes);
  thread.detached = detachState == PTHREAD_CREATE_DETACHED;
  State().made.push_back(thread);
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

ThreadMade LatestThread() {
  const std::lock_guard lock(State().mutex);
  return State().made.back();
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
    test::Remember({entry, argument}, attributes);
    if (std::exchange(test::State().failNext, false)) return EAGAIN;
  }
  auto start = std::make_unique<test::ThreadMade>(entry, argument);
  const int result = __real_pthread_create(thread, attributes, test::Run, start.get());
  if (result != 0) return result;
  static_cast<void>(start.release());  // Run owns it now
  // Looks the thread up: meanwhile others may have been created or ForgetThreads called.
  const std::lock_guard lock(test::State().mutex);
  for (auto& made : test::State().made) {
    if (made.entry == entry && made.argument == argument && made.id == 0) made.id = *thread;
  }
  return 0;
}

}  // extern "C"
