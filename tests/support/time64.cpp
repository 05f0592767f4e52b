// With 64-bit time on 32-bit platforms two of the C library's calls have other names. The linker
// replaces them under those names; here they lead to the tests' replacements.
#include <ctime>

// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" {

std::tm* __real___localtime64_r(const std::time_t* when, std::tm* out);
std::tm* __wrap_localtime_r(const std::time_t* when, std::tm* out);
std::time_t __wrap_time(std::time_t* out);

std::tm* __wrap___localtime64_r(const std::time_t* when, std::tm* out) {
  return __wrap_localtime_r(when, out);
}

std::tm* __real_localtime_r(const std::time_t* when, std::tm* out) {
  return __real___localtime64_r(when, out);
}

std::time_t __wrap___time64(std::time_t* out) {
  return __wrap_time(out);
}

}  // extern "C"
// NOLINTEND(*-reserved-identifier,cert-dcl*)
