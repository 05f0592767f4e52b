// Preloaded before the virtual clock, so that SQLite waits in real time for another process's lock.
//
// The witness, the acquisition side and brennik-status hold their locks in real time. On the
// virtual clock a wait would end before they release them, which never happens on a gateway. With
// kLockWaitsVariable in the environment each pause is counted and takes virtual time as well, so
// that a wait makes the service as late as it would on a gateway.
#include <dlfcn.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

#include "faults/lockstatistics.h"

namespace {

bool IsSqlite(const void* address) {
  Dl_info info{};
  return dladdr(address, &info) != 0 && std::strstr(info.dli_fname, "libsqlite3") != nullptr;
}

}  // namespace

extern "C" int usleep(useconds_t microseconds) {
  static auto* const clock = reinterpret_cast<int (*)(useconds_t)>(dlsym(RTLD_NEXT, "usleep"));
  if (!IsSqlite(__builtin_return_address(0))) return clock(microseconds);
  const timespec wait{static_cast<std::time_t>(microseconds / 1000000),
                      static_cast<long>(microseconds % 1000000 * 1000)};
  nanosleep(&wait, nullptr);
  static auto* const statistics =
      test::MapStatistics<test::LockStatistics>(std::getenv(test::kLockWaitsVariable));
  if (statistics == nullptr) return 0;
  statistics->Add(microseconds);
  return clock(microseconds);
}
