// A program of the gateway that runs on an emulated processor starts others of its kind through the
// emulator, too: this machine's kernel cannot. The linker sends `execv` here.
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
