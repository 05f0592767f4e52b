// Calls of the client that are recorded or fail.
#pragma once

#include <curl/curl.h>

#include <utility>
#include <vector>

namespace test {

// An option of a transfer and its value: a number, or the address of a text, an object or a
// function.
using CurlOption = std::pair<CURLoption, std::intptr_t>;

template <typename T>
CurlOption Option(CURLoption option, T* value) {
  return {option, reinterpret_cast<std::intptr_t>(value)};
}
inline CurlOption Option(CURLoption option, long value) {
  return {option, value};
}

// The options that this thread has set since the last ForgetOptions, in order. The address of a
// header list is left out.
const std::vector<CurlOption>& Options();
void ForgetOptions();

// Lets `skipped` header lines be appended and makes the next one fail, on the calling thread.
void FailHeaderLine(int skipped);

// Makes the next read of the calling thread fall short by one byte.
void ShortenNextRead();

}  // namespace test
