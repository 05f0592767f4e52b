#include "calltap.h"

#include <dirent.h>
#include <sys/types.h>

#include <array>
#include <mutex>
#include <utility>

// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" {
int __real_mkdir(const char* path, mode_t mode);
int __wrap_mkdir(const char* path, mode_t mode);
DIR* __real_opendir(const char* path);
DIR* __wrap_opendir(const char* path);
ssize_t __real_write(int file, const void* bytes, std::size_t count);
ssize_t __wrap_write(int file, const void* bytes, std::size_t count);
}

namespace test {
namespace {

constexpr std::size_t kCalls = 3;
std::mutex g_mutex;  // guards the hooks
std::array<std::function<void()>, kCalls> g_hooks;

void Look(Tapped call) {
  std::function<void()> hook;
  {
    const std::lock_guard lock(g_mutex);
    hook = std::exchange(g_hooks[static_cast<std::size_t>(call)], nullptr);
  }
  if (hook) hook();
}

}  // namespace

void AtNext(Tapped call, std::function<void()> hook) {
  const std::lock_guard lock(g_mutex);
  g_hooks[static_cast<std::size_t>(call)] = std::move(hook);
}

}  // namespace test

int __wrap_mkdir(const char* path, mode_t mode) {
  test::Look(test::Tapped::kMkdir);
  return __real_mkdir(path, mode);
}

DIR* __wrap_opendir(const char* path) {
  test::Look(test::Tapped::kOpendir);
  return __real_opendir(path);
}

ssize_t __wrap_write(int file, const void* bytes, std::size_t count) {
  test::Look(test::Tapped::kWrite);
  return __real_write(file, bytes, count);
}
// NOLINTEND(*-reserved-identifier,cert-dcl*)
