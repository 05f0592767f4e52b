#include "systemtap.h"

#include <sys/statfs.h>

#include <cerrno>
#include <mutex>
#include <optional>

extern "C" {
int __real_pthread_join(pthread_t thread, void** result);
int __wrap_pthread_join(pthread_t thread, void** result);
int __wrap_statfs64(const char* path, struct statfs* out);
}

namespace test {
namespace {

struct Tap {
  std::optional<CardSpace> space;
  std::string examinedPath;
  std::mutex mutex;  // guards what follows: any thread may join another
  std::vector<pthread_t> joined;
};

Tap& State() {
  static Tap tap;
  return tap;
}

}  // namespace

void SetCardSpace(const CardSpace& space) {
  State().space = space;
}

void HideCardSpace() {
  State().space.reset();
}

std::string ExaminedPath() {
  return State().examinedPath;
}

std::vector<pthread_t> Joined() {
  const std::lock_guard lock(State().mutex);
  return State().joined;
}

void ForgetJoins() {
  const std::lock_guard lock(State().mutex);
  State().joined.clear();
}

}  // namespace test

int __wrap_pthread_join(pthread_t thread, void** result) {
  {
    const std::lock_guard lock(test::State().mutex);
    test::State().joined.push_back(thread);
  }
  return __real_pthread_join(thread, result);
}

int __wrap_statfs64(const char* path, struct statfs* out) {
  test::State().examinedPath = path;
  if (!test::State().space) {
    errno = EIO;
    return -1;
  }
  const test::CardSpace& space = *test::State().space;
  *out = {};
  out->f_bsize = static_cast<decltype(out->f_bsize)>(space.blockBytes);
  out->f_bfree = space.freeBlocks;
  out->f_bavail = space.freeBlocksForOrdinaryUsers;
  return 0;
}
