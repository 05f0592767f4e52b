#include "support/world.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "log/log.h"

extern "C" int __wrap_usleep(useconds_t microseconds);  // NOLINT(*-reserved-identifier,cert-dcl*)

namespace {

// Standard error as it was before the fuzzer closed it to the code under test.
const int g_standardError = dup(STDERR_FILENO);

// Formats a record, so that the sanitizers check its arguments, and drops it.
__attribute__((format(printf, 1, 0))) unsigned int Drop(const char* format,
                                                        std::va_list arguments) {
  fuzz::Expect(std::vsnprintf(nullptr, 0, format, arguments) >= 0, "a log record can be formatted");
  return 1;
}

}  // namespace

int __wrap_usleep(useconds_t /*microseconds*/) {
  return 0;
}

// The log API of the harnesses, in place of the service's.
unsigned int log_Text(int /*level*/, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const unsigned int result = Drop(format, arguments);
  va_end(arguments);
  return result;
}

unsigned int log_DB(int /*level*/, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const unsigned int result = Drop(format, arguments);
  va_end(arguments);
  return result;
}

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  fuzz::Expect(std::getenv("BRENNIK_SANDBOX") != nullptr, "it runs through scripts/sandbox");
  setenv("TZ", "CST-8", 1);
  tzset();
  return 0;
}

namespace fuzz {

void Expect(bool kept, const char* promise) {
  if (kept) return;
  dprintf(g_standardError, "broken promise: %s\n", promise);
  std::abort();
}

InputFile::InputFile(const char* path)
    : m_path(path), m_file(open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)) {
  Expect(m_file >= 0, "the input's file can be made");
}

InputFile::~InputFile() {
  close(m_file);
}

void InputFile::Write(std::string_view content) const {
  const auto size = static_cast<ssize_t>(content.size());
  Expect(pwrite(m_file, content.data(), content.size(), 0) == size && ftruncate(m_file, size) == 0,
         "the input's file can be written");
}

}  // namespace fuzz
