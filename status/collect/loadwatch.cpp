#include "collect/loadwatch.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace status {
namespace {

// A template of megabytes could name the same large file a hundred thousand times.
constexpr std::clock_t kMostProcessorTime = 5 * CLOCKS_PER_SEC;
constexpr std::size_t kMostRefusals = 200;
constexpr std::size_t kMostPrintedBytes = 4096;  // of one file

LoadWatch* g_watch = nullptr;  // the one that lives

// What was printed to the file since `from`.
std::string PrintedSince(int file, long from) {
  std::string text(kMostPrintedBytes, '\0');
  const ssize_t count = pread(file, text.data(), text.size(), from);
  text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return text.substr(0, text.find('\n'));
}

// "PATH: line 12: reason" without the path. The service prints control characters of the path as
// blanks and cuts them off at its end.
Refusal ReadRefusal(const std::string& printed, const std::string& file, const std::string& real) {
  std::size_t length = real.size();
  while (length > 0 && static_cast<unsigned char>(real[length - 1]) <= ' ') --length;
  const std::size_t colon = printed.find(": ", std::min(length, printed.size()));
  Refusal refusal{.file = file,
                  .reason = colon < printed.size() ? printed.substr(colon + 2) : printed};
  constexpr std::string_view kLine = "line ";
  const std::size_t end = refusal.reason.find(": ");
  if (refusal.reason.starts_with(kLine) && end < refusal.reason.size()) {
    refusal.line = std::strtol(refusal.reason.c_str() + kLine.size(), nullptr, 10);
    refusal.reason.erase(0, end + 2);
  }
  refusal.noRights = access(real.c_str(), R_OK) != 0 && errno == EACCES;
  return refusal;
}

void Redirect(int standard, const util::Descriptor& to) {
  if (to) dup2(to.Get(), standard);
}

}  // namespace

LoadWatch::LoadWatch(Place place)
    : m_place(std::move(place)),
      m_printed(memfd_create("stderr", MFD_CLOEXEC)),
      m_ignored(memfd_create("stdout", MFD_CLOEXEC)),
      m_output(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)),
      m_error(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
  std::fflush(stdout);
  if (m_error) Redirect(STDERR_FILENO, m_printed);
  if (m_output) Redirect(STDOUT_FILENO, m_ignored);
  g_watch = this;
}

LoadWatch::~LoadWatch() {
  g_watch = nullptr;
  std::fflush(stdout);
  Redirect(STDERR_FILENO, m_error);
  Redirect(STDOUT_FILENO, m_output);
}

void LoadWatch::Settle() {
  const long end = m_printed ? static_cast<long>(lseek(m_printed.Get(), 0, SEEK_END)) : 0;
  if (end <= m_settled) return;
  Refusal refusal = ReadRefusal(PrintedSince(m_printed.Get(), m_settled), m_latest, m_latestReal);
  m_settled = end;
  const auto isSame = [&](const Refusal& other) { return other.file == refusal.file; };
  if (m_refusals.size() < kMostRefusals &&
      std::none_of(m_refusals.begin(), m_refusals.end(), isSame)) {
    m_refusals.push_back(std::move(refusal));
  }
}

std::vector<Refusal> LoadWatch::Refusals() {
  Settle();
  return m_refusals;
}

}  // namespace status

// The call of the loaders, and the service's own function, by the names that the linker's --wrap
// gives them.
util::XmlDocument RealRead(const char* path) __asm__("__real__ZN4util11XmlDocument4ReadEPKc");
util::XmlDocument WatchedRead(const char* path) __asm__("__wrap__ZN4util11XmlDocument4ReadEPKc");

util::XmlDocument WatchedRead(const char* path) {
  return status::LoadWatch::Read(path);
}

namespace status {

util::XmlDocument LoadWatch::Read(const char* path) {
  return g_watch == nullptr ? RealRead(path) : g_watch->ReadHere(path);
}

util::XmlDocument LoadWatch::ReadHere(const char* path) {
  Settle();
  m_latest = path;
  // A relative path starts in "/", where a supervisor starts the service.
  if (!m_latest.empty() && m_latest.front() != '/') m_latest.insert(0, "/");
  m_latestReal = m_latest.empty() ? "" : m_place.At(m_latest);
  m_files.insert(m_latest);
  m_tookTooLong = m_tookTooLong || std::clock() - m_started > kMostProcessorTime;
  if (m_tookTooLong) return {};
  return RealRead(m_latestReal.c_str());
}

}  // namespace status
