// Starting threads with a given detach state and a fixed stack size.
#pragma once

#include <pthread.h>

#include <cstddef>

namespace util {

inline constexpr std::size_t kThreadStackBytes = 0x200000;  // of every thread

enum class DetachState { kJoinable, kDetached };

enum class StartResult {
  kDone,           // the thread was to be created; `errorCode` tells whether it was
  kNoDetachState,  // the detach state could not be set; nothing was created
};

// Creates a thread that runs `entry(argument)`. `id` receives the thread; without one it keeps its
// value. `errorCode` receives 0 or the error number of the call that failed.
StartResult StartThread(pthread_t* id, DetachState state, void* (*entry)(void*), void* argument,
                        int* errorCode);

}  // namespace util
