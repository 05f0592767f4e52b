#include "curltap.h"

#include <cstdarg>
#include <mutex>
#include <ostream>

extern "C" {
CURLcode __real_curl_easy_setopt(CURL* handle, CURLoption option, ...);
CURLcode __wrap_curl_easy_setopt(CURL* handle, CURLoption option, ...);
curl_slist* __real_curl_slist_append(curl_slist* list, const char* line);
curl_slist* __wrap_curl_slist_append(curl_slist* list, const char* line);
}

namespace test {
namespace {

struct Tap {
  std::mutex mutex;
  std::vector<CurlOption> options;
};

constexpr int kNoFailure = -1;
thread_local int t_linesToFailure = kNoFailure;

Tap& State() {
  static Tap tap;
  return tap;
}

void Record(const CurlOption& option) {
  const std::lock_guard lock(State().mutex);
  State().options.push_back(option);
}

}  // namespace

CurlOption Number(CURLoption option, long value) {
  return {.option = option, .number = value};
}

CurlOption Pointer(CURLoption option, const void* value) {
  return {.option = option, .pointer = value};
}

CurlOption Function(CURLoption option,
                    std::size_t (*value)(char*, std::size_t, std::size_t, void*)) {
  return {.option = option, .function = reinterpret_cast<void (*)()>(value)};
}

std::vector<CurlOption> Options() {
  const std::lock_guard lock(State().mutex);
  return State().options;
}

void ForgetOptions() {
  const std::lock_guard lock(State().mutex);
  State().options.clear();
}

void FailHeaderLine(int skipped) {
  t_linesToFailure = skipped;
}

void PrintTo(const CurlOption& option, std::ostream* out) {
  const curl_easyoption* known = curl_easy_option_by_id(option.option);
  *out << (known == nullptr ? "unknown" : known->name) << " = " << option.number << ", pointer "
       << option.pointer << ", function " << (option.function != nullptr);
}

}  // namespace test

CURLcode __wrap_curl_easy_setopt(CURL* handle, CURLoption option, ...) {
  va_list arguments;
  va_start(arguments, option);
  CURLcode result = CURLE_UNKNOWN_OPTION;
  if (option < CURLOPTTYPE_OBJECTPOINT) {
    const long value = va_arg(arguments, long);
    test::Record(test::Number(option, value));
    result = __real_curl_easy_setopt(handle, option, value);
  } else if (option < CURLOPTTYPE_FUNCTIONPOINT) {
    void* value = va_arg(arguments, void*);
    test::Record(test::Pointer(option, option == CURLOPT_HTTPHEADER ? nullptr : value));
    result = __real_curl_easy_setopt(handle, option, value);
  } else if (option < CURLOPTTYPE_OFF_T) {
    using Any = void (*)();
    const Any value = va_arg(arguments, Any);
    test::Record({.option = option, .function = value});
    result = __real_curl_easy_setopt(handle, option, value);
  }
  va_end(arguments);
  return result;
}

curl_slist* __wrap_curl_slist_append(curl_slist* list, const char* line) {
  using test::t_linesToFailure;
  if (t_linesToFailure == test::kNoFailure) return __real_curl_slist_append(list, line);
  return t_linesToFailure-- == 0 ? nullptr : __real_curl_slist_append(list, line);
}
