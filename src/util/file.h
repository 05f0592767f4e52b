// Owners of open files, descriptors and zeroed C memory.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace util {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

struct MemoryFreer {
  void operator()(void* memory) const { std::free(memory); }
};

// `count` objects of a plain type, all bytes zero. Null when there is no memory.
template <typename T>
using ZeroedArray = std::unique_ptr<T[], MemoryFreer>;

template <typename T>
ZeroedArray<T> MakeZeroed(std::size_t count) {
  return ZeroedArray<T>(static_cast<T*>(std::calloc(count, sizeof(T))));
}

// Owner of a file descriptor; -1 is none.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
  ~Descriptor() { Close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  explicit operator bool() const { return m_descriptor >= 0; }
  int Get() const { return m_descriptor; }
  void Close() {
    if (m_descriptor >= 0) close(std::exchange(m_descriptor, -1));
  }

 private:
  int m_descriptor;
};

}  // namespace util
