// Starting threads with a stated detach state and stack size.
#pragma once

#include <pthread.h>

#include <cstddef>

namespace util {

inline constexpr std::size_t kThreadStackBytes = 0x200000;  // 2 MiB, every thread of the service

enum class DetachState { kJoinable, kDetached };

enum class StartResult {
  kDone,           // the creation call was made; `errorCode` tells whether it succeeded
  kNoDetachState,  // the detach state could not be set; nothing was created
};

// Creates a thread with a 2 MiB stack that runs `entry(argument)`. `id` receives the thread, and
// keeps what it holds when there is none; `errorCode` receives the failing call's error number, or
// 0.
StartResult StartThread(pthread_t* id, DetachState state, void* (*entry)(void*), void* argument,
                        int* errorCode);

}  // namespace util
