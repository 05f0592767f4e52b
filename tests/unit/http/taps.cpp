#include "taps.h"

#include <cstdarg>
#include <cstdio>

extern "C" {
CURLcode __real_curl_easy_setopt(CURL* handle, CURLoption option, ...);
CURLcode __wrap_curl_easy_setopt(CURL* handle, CURLoption option, ...);
curl_slist* __real_curl_slist_append(curl_slist* list, const char* line);
curl_slist* __wrap_curl_slist_append(curl_slist* list, const char* line);
std::size_t __real_fread(void* to, std::size_t size, std::size_t count, std::FILE* file);
std::size_t __wrap_fread(void* to, std::size_t size, std::size_t count, std::FILE* file);
}

namespace {

constexpr int kNoFailure = -1;
thread_local std::vector<test::CurlOption> t_options;
thread_local int t_linesToFailure = kNoFailure;
thread_local bool t_shortenRead = false;

}  // namespace

const std::vector<test::CurlOption>& test::Options() {
  return t_options;
}

void test::ForgetOptions() {
  t_options.clear();
}

void test::FailHeaderLine(int skipped) {
  t_linesToFailure = skipped;
}

void test::ShortenNextRead() {
  t_shortenRead = true;
}

// The client's options are numbers and pointers, which have the size of a long.
static_assert(sizeof(long) == sizeof(void*));

CURLcode __wrap_curl_easy_setopt(CURL* handle, CURLoption option, ...) {
  va_list arguments;
  va_start(arguments, option);
  const long value = va_arg(arguments, long);
  va_end(arguments);
  t_options.emplace_back(option, option == CURLOPT_HTTPHEADER ? 0 : value);
  return __real_curl_easy_setopt(handle, option, value);
}

curl_slist* __wrap_curl_slist_append(curl_slist* list, const char* line) {
  if (t_linesToFailure == kNoFailure) return __real_curl_slist_append(list, line);
  return t_linesToFailure-- == 0 ? nullptr : __real_curl_slist_append(list, line);
}

std::size_t __wrap_fread(void* to, std::size_t size, std::size_t count, std::FILE* file) {
  const std::size_t read = __real_fread(to, size, count, file);
  return std::exchange(t_shortenRead, false) && read > 0 ? read - 1 : read;
}
