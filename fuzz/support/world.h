// What all harnesses share. They run through scripts/sandbox, on the gateway's real paths and with
// shared memory of their own. Pauses of the loaders take no time; log records are formatted and
// dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// The fuzzer calls the first with each input, and the second before all inputs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace fuzz {

// Ends the process when the promise was not kept, which makes the input a finding.
void Expect(bool kept, const char* promise);

// The input as libcurl passes it: bytes without a terminator, in a block of exactly their size.
inline char* Text(const std::uint8_t* data) {
  return reinterpret_cast<char*>(const_cast<std::uint8_t*>(data));
}

template <std::size_t N>
bool IsTerminated(const char (&field)[N]) {
  return std::memchr(field, '\0', N) != nullptr;
}

// A file below /tmp that gets new content for each input. It holds the file open.
class InputFile {
 public:
  explicit InputFile(const char* path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  void Write(std::string_view content) const;
  const char* Path() const { return m_path.c_str(); }

 private:
  std::string m_path;
  int m_file;
};

// The whole input as the content of a file.
inline std::string_view Content(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace fuzz
