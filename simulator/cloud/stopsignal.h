// Owns the signal that ends every wait of the server's threads.
#pragma once

#include <chrono>

#include "util/file.h"

namespace cloud {

// What it is for: waiting on a socket, or just for some time, until someone says stop.
// Threads: any. Owns: an event descriptor, readable for ever once the signal is raised.
class StopSignal {
 public:
  // Throws std::system_error when no descriptor is left.
  StopSignal();

  void Raise();
  // True when the whole pause has passed, false as soon as the signal is raised.
  bool Pause(std::chrono::milliseconds pause) const;
  // Waits until one of `events` (poll's) or a hang-up is there on `descriptor`. False when
  // `timeout` has passed or the signal is raised. A negative timeout waits without end.
  bool WaitFor(int descriptor, short events, std::chrono::milliseconds timeout) const;

 private:
  util::Descriptor m_event;
};

}  // namespace cloud
