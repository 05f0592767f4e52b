// The real service as a child process, on a virtual clock that the test moves.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>

#include "system/clock/virtualclock.h"

namespace test {

// Starts the service, lets its time run to chosen moments and waits for its end. Between two moves
// of the time the service rests: all its threads sleep. Only the test's thread may call it. The
// process is killed with the object.
class ServiceProcess {
 public:
  // Starts the service at `start`, Unix time, and waits until it rests or has ended.
  // BRENNIK_SERVICE in the environment names the service of another build.
  explicit ServiceProcess(std::time_t start);
  // Fails the test when a sanitizer has reported something, or when the service has ended and the
  // test has asked neither RunToItsEnd nor ExitStatus.
  ~ServiceProcess();
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  // Lets the time run to the end of the second `moment` and waits until the service rests or has
  // ended. False, with a test failure, when it does neither within ten minutes of real time.
  bool RunUntil(std::time_t moment);
  bool RunFor(std::time_t seconds) { return RunUntil(m_limit + seconds); }
  // RunUntil in two steps, for a test that acts while the service works.
  void LetRunUntil(std::time_t moment);
  bool AwaitRest();
  // Lets the time run, at most to `latest`, and waits for the service to end by itself. Returns its
  // exit status, 128 + the signal's number after a signal, nothing when it has not ended.
  std::optional<int> RunToItsEnd(std::time_t latest);
  // Sets the wall clock while the service rests. Sleeping threads wake neither earlier nor later.
  // Later moments are given by the new clock.
  void SetWallClock(std::time_t moment);

  // A server of the test calls FallSilent before it keeps a connection waiting and SpeakAgain
  // afterwards: in between, the service's waits for the network take virtual time. Any thread may
  // call them.
  static void FallSilent();
  static void SpeakAgain();

  // The service's wall clock; after its end, the time at which it ended.
  std::time_t Now() const;
  // Threads alive, the main thread included.
  unsigned Threads() const { return m_face->threads.load(); }
  pid_t Pid() const { return m_pid; }
  // Exit status as above once the process has ended by itself.
  std::optional<int> ExitStatus();
  // The most memory that it has had so far.
  long PeakKib() const;
  // What it has printed to both streams.
  std::string Output() const;

 private:
  bool HasEnded();

  ClockFace* m_face = nullptr;
  std::time_t m_limit;  // by the wall clock
  pid_t m_pid = -1;
  std::optional<int> m_exitStatus;
  bool m_endExpected = false;
};

}  // namespace test
