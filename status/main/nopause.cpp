// The usleep of this program: the linker leads all calls here.
#include <unistd.h>

#include "collect/nopauses.h"

// Only the linker calls the first, and gives the second its name.
// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" int __wrap_usleep(useconds_t microseconds);
extern "C" int __real_usleep(useconds_t microseconds);

extern "C" int __wrap_usleep(useconds_t microseconds) {
  return status::NoPauses::AreInForce() ? 0 : __real_usleep(microseconds);
}
// NOLINTEND(*-reserved-identifier,cert-dcl*)
