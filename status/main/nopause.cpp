// The service's loaders and document writers pause with usleep to spare the processor. This program
// looks once, so the linker gives them this usleep instead. Nothing else here may pause with it.
#include <unistd.h>

// Only the linker calls it.
extern "C" int __wrap_usleep(useconds_t microseconds);

extern "C" int __wrap_usleep(useconds_t /*microseconds*/) {
  return 0;
}
