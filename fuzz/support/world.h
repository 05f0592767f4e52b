// What all harnesses share: the promise that is checked, the file that the code under test reads.
//
// Every harness runs through scripts/sandbox, on the gateway's real paths and a shared memory of
// its own. At link time the pauses of the loaders last no time, and what is logged is formatted,
// looked at and dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// The fuzzer's entries: one input, and what comes before the first.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace fuzz {

// Ends the process with `promise` when it was not kept, which makes the input a finding.
void Expect(bool kept, const char* promise);

// The input as libcurl hands it over: bytes without a terminator, in a block of just their size.
inline char* Text(const std::uint8_t* data) {
  return reinterpret_cast<char*>(const_cast<std::uint8_t*>(data));
}

template <std::size_t N>
bool IsTerminated(const char (&field)[N]) {
  return std::memchr(field, '\0', N) != nullptr;
}

// What it is for: a file on the gateway's /tmp whose content is replaced for each input.
// Owns: its descriptor.
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
