// Where the service's own code does not pause.
#pragma once

namespace status {

// While one lives, the program's usleep returns at once (main/nopause.cpp): the service's loaders
// and document writers pause to spare the processor, and this program looks only once.
class NoPauses {
 public:
  NoPauses() { ++s_alive; }
  ~NoPauses() { --s_alive; }
  NoPauses(const NoPauses&) = delete;
  NoPauses& operator=(const NoPauses&) = delete;

  static bool AreInForce() { return s_alive > 0; }

 private:
  static inline int s_alive = 0;
};

}  // namespace status
