// The real service as a child process, on a virtual clock that the test moves.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>

#include "system/clock/virtualclock.h"

namespace test {

// What it is for: starts the service, lets its time run to chosen moments, watches it end. Between
// two moves of the time the service rests: every thread of it sleeps.
// Threads: the test's. Owns: the process, killed with the object; the clock's file.
class ServiceProcess {
 public:
  // Starts the service at `start`, Unix time, and waits until it rests or has ended. It is this
  // build's, or the one that the environment's BRENNIK_SERVICE names.
  explicit ServiceProcess(std::time_t start);
  // Fails the test when a sanitizer has had something to say, or when the service has ended and the
  // test has not asked for its exit status.
  ~ServiceProcess();
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  // Lets the time run up to `moment`, which is still lived through, and waits until the service
  // rests or has ended. False, with a test failure, when it does neither within ten minutes.
  bool RunUntil(std::time_t moment);
  bool RunFor(std::time_t seconds) { return RunUntil(m_limit + seconds); }
  // Sets the wall clock of a service that rests. The threads that sleep do not wake any earlier or
  // later by it; from here on moments are of the new clock.
  void SetWallClock(std::time_t moment);
  // RunUntil in two steps, for what the test does while the service works.
  void LetRunUntil(std::time_t moment);
  bool AwaitRest();

  // A server of the test falls silent on one connection, or speaks again: in between, the service's
  // waits for the network take the service's time. Threads: any.
  static void FallSilent();
  static void SpeakAgain();

  // The service's own time, by its wall clock; after its end, the time at which it ended.
  std::time_t Now() const;
  // Threads alive, the main thread included.
  unsigned Threads() const { return m_face->threads.load(); }
  pid_t Pid() const { return m_pid; }
  // Exit status once the process has ended by itself; 128 + signal after a signal.
  std::optional<int> ExitStatus();
  // The most memory that it has had so far.
  long PeakKib() const;
  // What it has printed, both streams.
  std::string Output() const;

 private:
  bool HasEnded();
  void CheckEnd();

  ClockFace* m_face = nullptr;
  std::time_t m_limit;  // by the wall clock
  pid_t m_pid = -1;
  std::optional<int> m_exitStatus;
  bool m_statusAsked = false;
};

}  // namespace test
