#include "systemtap.h"

#include <sys/statfs.h>

#include <cerrno>
#include <mutex>

extern "C" {
int __real_pthread_join(pthread_t thread, void** result);
int __wrap_pthread_join(pthread_t thread, void** result);
int __wrap_statfs64(const char* path, struct statfs* out);
}

namespace {

std::string g_path;
std::optional<test::CardSpace> g_space;
std::mutex g_mutex;  // guards the list: any thread may join another
std::vector<pthread_t> g_joined;

}  // namespace

void test::SetCardSpace(const std::string& path, const std::optional<CardSpace>& space) {
  g_path = path;
  g_space = space;
}

std::vector<pthread_t> test::Joined() {
  const std::lock_guard lock(g_mutex);
  return g_joined;
}

void test::ForgetJoins() {
  const std::lock_guard lock(g_mutex);
  g_joined.clear();
}

int __wrap_pthread_join(pthread_t thread, void** result) {
  {
    const std::lock_guard lock(g_mutex);
    g_joined.push_back(thread);
  }
  return __real_pthread_join(thread, result);
}

int __wrap_statfs64(const char* path, struct statfs* out) {
  if (path != g_path || !g_space) {
    errno = EIO;
    return -1;
  }
  *out = {};
  out->f_bsize = static_cast<decltype(out->f_bsize)>(g_space->blockBytes);
  out->f_bfree = g_space->freeBlocks;
  out->f_bavail = g_space->freeBlocksForOrdinaryUsers;
  return 0;
}
