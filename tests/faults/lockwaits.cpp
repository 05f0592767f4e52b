// Preloaded before the virtual clock, so that SQLite waits in real time for another process's lock.
//
// The witness and the acquisition side hold their locks in real time. On the virtual clock a wait
// would end before they release them, which never happens on a gateway.
#include <dlfcn.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

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
  return nanosleep(&wait, nullptr);
}
