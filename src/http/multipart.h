// The multipart form in which a data file travels: one part, put together by hand.
#pragma once

#include <cstddef>

#include "util/file.h"

// What it is for: the body of one file upload. Threads: the one that builds it.
// Owns: the file's copy and the body, each with room for the file and 2,048 bytes more.
class MultipartBody {
 public:
  // Room for a file of `fileBytes` bytes.
  explicit MultipartBody(std::size_t fileBytes);

  // False when there is no memory.
  explicit operator bool() const { return m_copy && m_body; }
  std::size_t Capacity() const { return m_capacity; }
  // Reads the file and puts the body together. False, with a WARN line when it cannot be opened for
  // reading and writing, when the file cannot be read whole or has outgrown the room.
  bool Build(const char* path);

  const char* Data() const { return m_body.get(); }
  std::size_t Length() const { return m_length; }

 private:
  std::size_t m_capacity;
  std::size_t m_length = 0;
  util::ZeroedArray<char> m_body;
  util::ZeroedArray<char> m_copy;
};
