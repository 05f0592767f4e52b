// The multipart form in which a data file travels: one part, put together by hand.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "util/file.h"

// The body of one file upload, for the thread that builds it. It holds a copy of the file and the
// body itself, each with room for the file and 2,048 bytes more.
class MultipartBody {
 public:
  // Room for a file of `fileBytes` bytes.
  explicit MultipartBody(std::size_t fileBytes);

  // False when there is no memory.
  explicit operator bool() const { return m_copy && m_body; }
  std::size_t Capacity() const { return m_capacity; }
  // Reads the file and puts the body together. False when the file cannot be opened for reading and
  // writing (with a WARN line), cannot be read whole, or has outgrown the room.
  bool Build(const std::string& path);

  std::string_view Text() const { return {m_body.get(), m_length}; }

 private:
  std::size_t m_capacity;
  std::size_t m_length = 0;
  util::ZeroedArray<char> m_body;
  util::ZeroedArray<char> m_copy;
};
