#include "util/durable.h"

#include <fcntl.h>
#include <unistd.h>

#include "util/file.h"

namespace util {

void SyncToCard(const char* path) {
  const Descriptor place(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (place) fsync(place.Get());
}

void SyncFileSystem(const char* path) {
  const Descriptor place(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (place) syncfs(place.Get());
}

}  // namespace util
