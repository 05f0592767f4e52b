// The tests' clock: it replaces `time`, `sleep` and `usleep` for the code under test. On the test's
// own thread a pause is recorded, moves the time by its length and returns at once. On any other
// thread a pause parks the thread until the test resumes or ends it (threads.h).
#pragma once

#include <chrono>
#include <ctime>
#include <functional>
#include <vector>

namespace test {

using Pause = std::chrono::microseconds;

// Sets the time. Every test starts at 2024-03-07 12:00:00 in the test's time zone (GatewayTest).
void SetTime(std::time_t now);
// The Unix time of a local time; `month` counts from 1.
std::time_t LocalTimeOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);

// The pauses of the test's thread since the last ForgetPauses, in order.
std::vector<Pause> Pauses();
void ForgetPauses();

// Sets a hook that is called after every pause of the test's thread, when the time has moved. An
// empty function removes it. The hook may throw to leave an endless worker.
void OnPause(std::function<void(Pause)> hook);

// Thrown by a hook to end a worker.
struct WorkerEnded {};

}  // namespace test
