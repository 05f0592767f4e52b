// What both ends of a control socket need.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>
#include <optional>
#include <string>

namespace program {

// Bytes that one end collects for a peer, or takes from it, at most.
inline constexpr std::size_t kControlBytes = std::size_t{1} << 20;
inline constexpr std::size_t kControlChunkBytes = std::size_t{16} * 1024;

// The address of a path; nothing when the path is empty or too long for a socket.
inline std::optional<sockaddr_un> ControlAddress(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address.sun_path)) return std::nullopt;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

// The socket calls take every family's address through one type.
inline const sockaddr* Plain(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

// A stream socket that never waits; -1 when there is none left.
inline int MakeControlSocket() {
  return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

}  // namespace program
