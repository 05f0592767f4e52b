#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "print/print.h"
#include "util/file.h"

namespace status {
namespace {

constexpr mode_t kMode = 0644;

bool WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

// Nothing but a file may be replaced: not a device, and not a link such as /dev/stdout.
bool MayReplace(const std::string& file) {
  struct stat found {};
  if (lstat(file.c_str(), &found) != 0) return true;
  errno = S_ISDIR(found.st_mode) ? EISDIR : EINVAL;
  return S_ISREG(found.st_mode);
}

bool Replace(const std::string& file, const std::string& text) {
  if (!MayReplace(file)) return false;
  std::string temporary = file + ".XXXXXX";
  util::Descriptor descriptor(mkostemp(temporary.data(), O_CLOEXEC));
  if (!descriptor) return false;
  if (WriteAll(descriptor.Get(), text) && fchmod(descriptor.Get(), kMode) == 0 &&
      std::rename(temporary.c_str(), file.c_str()) == 0)
    return true;
  const int error = errno;
  unlink(temporary.c_str());
  errno = error;
  return false;
}

}  // namespace

int WriteMetrics(const std::string& file, const std::string& text) {
  if (Replace(file, text)) return 0;
  std::fprintf(stderr, "brennik-status: cannot write %s: %s\n", file.c_str(), std::strerror(errno));
  return 1;
}

}  // namespace status
