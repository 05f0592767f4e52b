#include "support/world.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "log/log.h"

class CLogTxt;
class CLogDatabase;

// NOLINTBEGIN(*-reserved-identifier,cert-dcl*): the linker's own names
extern "C" {
int __wrap_usleep(useconds_t microseconds);
// CLogTxt::InsertLog and CLogDatabase::InsertLog
void __wrap__ZN7CLogTxt9InsertLogEPKcS1_(CLogTxt* store, const char* type, const char* message);
void __wrap__ZN12CLogDatabase9InsertLogEPKcS1_(CLogDatabase* store, const char* type,
                                               const char* message);
}
// NOLINTEND(*-reserved-identifier,cert-dcl*)

namespace {

constexpr std::size_t kLongestMessage = 2047;  // of either log

// Standard error as it was before the fuzzer closed it to the code under test.
const int g_standardError = dup(STDERR_FILENO);

int g_records = 0;

void LookAtRecord(const char* message) {
  fuzz::Expect(std::strlen(message) <= kLongestMessage, "a log message keeps within its bounds");
  ++g_records;
}

}  // namespace

int __wrap_usleep(useconds_t /*microseconds*/) {
  return 0;
}

void __wrap__ZN7CLogTxt9InsertLogEPKcS1_(CLogTxt* /*store*/, const char* /*type*/,
                                         const char* message) {
  LookAtRecord(message);
}

void __wrap__ZN12CLogDatabase9InsertLogEPKcS1_(CLogDatabase* /*store*/, const char* /*type*/,
                                               const char* message) {
  LookAtRecord(message);
}

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  fuzz::Expect(std::getenv("BRENNIK_SANDBOX") != nullptr, "it runs through scripts/sandbox");
  setenv("TZ", "CST-8", 1);
  tzset();

  log_Text(INFO, "text log");
  log_DB(INFO, "database log");
  fuzz::Expect(g_records == 2, "records of both logs are dropped before they are queued");
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
