#include "systemtap.h"

#include <sys/statfs.h>

#include <cerrno>
#include <string_view>

extern "C" {
int __real_pthread_join(pthread_t thread, void** result);
int __wrap_pthread_join(pthread_t thread, void** result);
int __wrap_statfs64(const char* path, struct statfs* out);
}

namespace {

std::optional<test::CardSpace> g_space;
thread_local std::vector<pthread_t> t_joined;

}  // namespace

void test::SetCardSpace(const std::optional<CardSpace>& space) {
  g_space = space;
}

const std::vector<pthread_t>& test::Joined() {
  return t_joined;
}

void test::ForgetJoins() {
  t_joined.clear();
}

int __wrap_pthread_join(pthread_t thread, void** result) {
  t_joined.push_back(thread);
  return __real_pthread_join(thread, result);
}

int __wrap_statfs64(const char* path, struct statfs* out) {
  if (!g_space || path != std::string_view("/media/mmcblk0p1/")) {
    errno = EIO;
    return -1;
  }
  *out = {};
  out->f_bsize = static_cast<decltype(out->f_bsize)>(g_space->blockBytes);
  out->f_bfree = g_space->freeBlocks;
  return 0;
}
