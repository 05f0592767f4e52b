// The threads of the code under test. Each is parked whenever it calls `sleep` or `usleep`. The
// test resumes it, and it runs to its next pause, or ends it.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <vector>

namespace test {

using ThreadEntry = void* (*)(void*);

// Waits until `count` threads with that entry are parked. False when they are not after 20 s.
[[nodiscard]] bool AwaitParked(ThreadEntry entry, int count);
// Number of threads with that entry parked now.
int ParkedThreads(ThreadEntry entry);
// Lets the parked threads with that entry go on to their next pause.
void ResumeThreads(ThreadEntry entry);
// Ends the parked threads with that entry, so that they can be joined.
void EndThreads(ThreadEntry entry);

// Makes the next creation of a thread fail with EAGAIN.
void FailNextThread();

// A thread as it was created.
struct ThreadMade {
  ThreadEntry entry = nullptr;
  void* argument = nullptr;
  std::size_t stackBytes = 0;
  bool detached = false;
  pthread_t id = 0;  // 0: the creation failed
};
// The threads since the last ForgetThreads, in order of creation. Failed creations count, too.
std::vector<ThreadMade> ThreadsMadeInFull();
std::vector<ThreadEntry> ThreadsMade();
ThreadMade LatestThread();
void ForgetThreads();

// Parks the calling thread. For clock.cpp.
void ParkThisThread();

}  // namespace test
