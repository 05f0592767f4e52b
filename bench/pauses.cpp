#include "pauses.h"

#include <unistd.h>

#include <condition_variable>
#include <mutex>

// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" {
unsigned __wrap_sleep(unsigned seconds);
int __wrap_usleep(useconds_t microseconds);
}
// NOLINTEND(*-reserved-identifier,cert-dcl*)

namespace {

constexpr int kLogThreads = 2;

struct Gate {
  std::mutex mutex;
  std::condition_variable changed;
  int sleeping = 0;
  unsigned round = 0;
};

// Never destroyed: the threads sleep while the process ends.
Gate& TheGate() {
  static auto* const gate = new Gate;
  return *gate;
}

}  // namespace

void LetLogsBeWritten() {
  Gate& gate = TheGate();
  std::unique_lock lock(gate.mutex);
  const auto allSleep = [&] { return gate.sleeping == kLogThreads; };
  gate.changed.wait(lock, allSleep);
  gate.sleeping = 0;
  ++gate.round;
  gate.changed.notify_all();
  gate.changed.wait(lock, allSleep);
}

unsigned __wrap_sleep(unsigned /*seconds*/) {
  Gate& gate = TheGate();
  std::unique_lock lock(gate.mutex);
  ++gate.sleeping;
  gate.changed.notify_all();
  gate.changed.wait(lock, [&, round = gate.round] { return gate.round != round; });
  return 0;
}

int __wrap_usleep(useconds_t /*microseconds*/) {
  return 0;
}
