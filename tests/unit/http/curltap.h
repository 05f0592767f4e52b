// What the client tells libcurl: every option of every transfer, recorded on its way there; and a
// header list for which there is no memory.
#pragma once

#include <curl/curl.h>

#include <string>
#include <vector>

namespace test {

// One option as it was set. Of the value only the member of the option's kind is filled.
struct CurlOption {
  CURLoption option;
  long number = 0;
  const void* pointer = nullptr;
  void (*function)() = nullptr;

  bool operator==(const CurlOption&) const = default;
};

CurlOption Number(CURLoption option, long value);
CurlOption Pointer(CURLoption option, const void* value);
CurlOption Function(CURLoption option,
                    std::size_t (*value)(char*, std::size_t, std::size_t, void*));

// The options since the last ForgetOptions, in order. A header list stands there without its
// address, which is nobody's business.
std::vector<CurlOption> Options();
void ForgetOptions();

// Lets `skipped` header lines be appended and makes the next one fail, on the calling thread.
void FailHeaderLine(int skipped);

void PrintTo(const CurlOption& option, std::ostream* out);

}  // namespace test
