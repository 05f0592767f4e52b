#include "filetap.h"

#include <cstdio>
#include <utility>

extern "C" {
int __real_access(const char* path, int mode);
int __wrap_access(const char* path, int mode);
std::FILE* __real_fopen64(const char* path, const char* mode);
std::FILE* __wrap_fopen64(const char* path, const char* mode);
std::size_t __real_fread(void* to, std::size_t size, std::size_t count, std::FILE* file);
std::size_t __wrap_fread(void* to, std::size_t size, std::size_t count, std::FILE* file);
}

namespace test {
namespace {

// Of the test's own thread; the log stores' threads open files too.
thread_local std::function<void()> t_afterAccess;
thread_local std::function<void()> t_beforeOpen;
thread_local bool t_shortenRead = false;

void RunOnce(std::function<void()>& hook) {
  if (const auto now = std::exchange(hook, nullptr)) now();
}

}  // namespace

void AfterAccess(std::function<void()> hook) {
  t_afterAccess = std::move(hook);
}

void BeforeOpen(std::function<void()> hook) {
  t_beforeOpen = std::move(hook);
}

void ShortenNextRead() {
  t_shortenRead = true;
}

}  // namespace test

int __wrap_access(const char* path, int mode) {
  const int result = __real_access(path, mode);
  test::RunOnce(test::t_afterAccess);
  return result;
}

std::FILE* __wrap_fopen64(const char* path, const char* mode) {
  test::RunOnce(test::t_beforeOpen);
  return __real_fopen64(path, mode);
}

std::size_t __wrap_fread(void* to, std::size_t size, std::size_t count, std::FILE* file) {
  const std::size_t read = __real_fread(to, size, count, file);
  return std::exchange(test::t_shortenRead, false) && read > 0 ? read - 1 : read;
}
