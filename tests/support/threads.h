// The threads of the code under test. Each pauses only in `sleep` and `usleep`, where it is parked:
// the test resumes it for as long as it takes to come to its next pause, or ends it there.
#pragma once

#include <pthread.h>

#include <vector>

namespace test {

using ThreadEntry = void* (*)(void*);

// Waits until `count` threads with that entry are parked; false when they are not after 20 s.
[[nodiscard]] bool AwaitParked(ThreadEntry entry, int count);
// Number of threads with that entry parked now.
int ParkedThreads(ThreadEntry entry);
// Lets the parked threads with that entry go on to their next pause.
void ResumeThreads(ThreadEntry entry);
// Ends the parked threads with that entry, so that they can be joined.
void EndThreads(ThreadEntry entry);

// Makes the next creation of a thread fail with EAGAIN.
void FailNextThread();

// Stack size, in bytes, and detach state with which the latest thread was created, and that thread:
// 0 when its creation failed.
struct ThreadMaking {
  unsigned long stackBytes;
  bool detached;
  pthread_t id = 0;
};
ThreadMaking LatestThread();

// The entries of all threads that were to be created since the last ForgetThreads, in order; one
// whose creation failed too.
std::vector<ThreadEntry> ThreadsMade();
// The same threads with what they were given: the argument, and the id, 0 when there is none.
struct ThreadMade {
  ThreadEntry entry;
  void* argument;
  pthread_t id;
};
std::vector<ThreadMade> ThreadsMadeInFull();
void ForgetThreads();

// Parks the calling thread (clock.cpp).
void ParkThisThread();

}  // namespace test
