// A test that starts its own program again calls `execv`, which the linker replaces by this. On an
// emulated processor the new program must be started through the emulator, too.
#include <unistd.h>

#include <cstdlib>
#include <vector>

// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" {
int __real_execv(const char* path, char* const arguments[]);
int __wrap_execv(const char* path, char* const arguments[]);
}

int __wrap_execv(const char* path, char* const arguments[]) {
  if (std::getenv("QEMU_LD_PREFIX") == nullptr) return __real_execv(path, arguments);
  char emulator[] = BRENNIK_QEMU;
  std::vector<char*> all{emulator};
  for (; *arguments != nullptr; ++arguments) all.push_back(*arguments);
  all.push_back(nullptr);
  return __real_execv(emulator, all.data());
}
// NOLINTEND(*-reserved-identifier,cert-dcl*)
