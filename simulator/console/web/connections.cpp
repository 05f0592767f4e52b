#include "console/web/connections.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace console {

namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

std::vector<int> OpenDescriptors() {
  std::vector<int> descriptors;
  const std::unique_ptr<DIR, CloseDirectory> directory(opendir("/proc/self/fd"));
  while (directory) {
    const dirent* const entry = readdir(directory.get());
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    int descriptor = -1;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), descriptor);
    if (error == std::errc()) descriptors.push_back(descriptor);
  }
  return descriptors;
}

bool IsListening(int descriptor) {
  int listening = 0;
  socklen_t size = sizeof(listening);
  return getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) == 0 &&
         listening != 0;
}

}  // namespace

std::string AddressOf(int descriptor) {
  sockaddr_storage address{};
  socklen_t size = sizeof(address);
  // The C interface takes every kind of address through this type.
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) return {};
  std::string bytes(size, '\0');
  std::memcpy(bytes.data(), &address, size);
  return bytes;
}

void EndConnections(const std::string& listenerAddress) {
  for (const int descriptor : OpenDescriptors()) {
    // Another thread may close the socket and open something else under its number meanwhile. A
    // copy stays the same.
    const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (copy < 0) continue;
    if (AddressOf(copy) == listenerAddress && !IsListening(copy)) shutdown(copy, SHUT_RDWR);
    close(copy);
  }
}

}  // namespace console
