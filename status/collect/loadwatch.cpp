#include "collect/loadwatch.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "util/xmlplace.h"

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
Refusal ReadRefusal(const std::string& printed, const std::string& path) {
  std::size_t length = path.size();
  while (length > 0 && static_cast<unsigned char>(path[length - 1]) <= ' ') --length;
  const std::size_t colon = printed.find(": ", std::min(length, printed.size()));
  Refusal refusal;
  refusal.reason = colon < printed.size() ? printed.substr(colon + 2) : printed;
  constexpr std::string_view kLine = "line ";
  const std::size_t end = refusal.reason.find(": ");
  if (refusal.reason.starts_with(kLine) && end < refusal.reason.size()) {
    refusal.line = std::strtol(refusal.reason.c_str() + kLine.size(), nullptr, 10);
    refusal.reason.erase(0, end + 2);
  }
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
  if (end <= m_settled || m_tookTooLong) return;
  Refusal refusal = ReadRefusal(PrintedSince(m_printed.Get(), m_settled), m_asked);
  refusal.file = m_latest;
  refusal.noRights = access(m_place.At(m_latest).c_str(), R_OK) != 0 && errno == EACCES;
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

std::string LoadWatch::PlaceOfNext(const std::string& path) {
  Settle();
  m_asked = m_latest = path;
  // A relative path starts in "/", where a supervisor starts the service.
  if (!path.empty() && path.front() != '/') m_latest.insert(0, "/");
  m_files.insert(m_latest);
  m_tookTooLong = m_tookTooLong || std::clock() - m_started > kMostProcessorTime;
  return m_tookTooLong || path.empty() ? "" : m_place.At(m_latest);
}

}  // namespace status

// In place of the service's own.
std::string util::PlaceOfXmlFile(const std::string& path) {
  return status::g_watch == nullptr ? path : status::g_watch->PlaceOfNext(path);
}
