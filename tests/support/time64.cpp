// With 64-bit time on 32-bit platforms the C library's calls go by other names. The linker wraps
// them under those, and here they meet the tests' replacements.
#include <ctime>

// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" {
std::tm* __real___localtime64_r(const std::time_t* when, std::tm* out);
std::tm* __wrap___localtime64_r(const std::time_t* when, std::tm* out);
std::tm* __real_localtime_r(const std::time_t* when, std::tm* out);
std::tm* __wrap_localtime_r(const std::time_t* when, std::tm* out);
std::time_t __wrap___time64(std::time_t* out);
std::time_t __wrap_time(std::time_t* out);
}

std::tm* __wrap___localtime64_r(const std::time_t* when, std::tm* out) {
  return __wrap_localtime_r(when, out);
}

std::tm* __real_localtime_r(const std::time_t* when, std::tm* out) {
  return __real___localtime64_r(when, out);
}

std::time_t __wrap___time64(std::time_t* out) {
  return __wrap_time(out);
}
// NOLINTEND(*-reserved-identifier,cert-dcl*)
