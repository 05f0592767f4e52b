// log: both logs as one stream, a record a line.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>

#include "collect/logs.h"
#include "main/commands.h"
#include "main/moment.h"
#include "print/repeats.h"
#include "print/terminal.h"

namespace status {
namespace {

constexpr int kLookEveryMilliseconds = 1000;
constexpr int kLevelColumns = 5;

volatile std::sig_atomic_t g_isEnded = 0;

void End(int /*signal*/) {
  g_isEnded = 1;
}

// A reader that leaves, or Ctrl-C, ends the command in order.
void EndInOrder() {
  struct sigaction action {};
  action.sa_handler = End;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

// INFO and everything that is not worse is 0.
int RankOf(const std::string& level) {
  constexpr std::array kWorse = {"WARN", "ERROR", "FATAL"};
  const auto* const found = std::find(kWorse.begin(), kWorse.end(), level);
  return found == kWorse.end() ? 0 : static_cast<int>(found - kWorse.begin()) + 1;
}

std::string ColouredLevel(const Terminal& terminal, const std::string& level) {
  std::string padded = Padded(Visible(level), kLevelColumns);
  const int rank = RankOf(level);
  if (rank == 0) return padded;
  return terminal.Colour(rank == 1 ? "yellow" : "red", padded);
}

// Prints the records of a stream. False once nobody reads the output any more.
class Printer {
 public:
  explicit Printer(const Options& options) : m_lowestRank(RankOf(options.level)) {}

  bool Print(const LogRecord& record) {
    if (RankOf(record.level) < m_lowestRank) return !g_isEnded;
    m_repeats.Take({record.time, record.level, record.text});
    return !g_isEnded && !std::ferror(stdout);
  }
  bool Flush() {
    m_repeats.Flush();
    return std::fflush(stdout) == 0 && !std::ferror(stdout) && !g_isEnded;
  }

 private:
  void PrintLine(const RepeatedLine& line) const {
    std::printf("%s %s %s", LocalText(line.first.time).c_str(),
                ColouredLevel(m_terminal, line.first.level).c_str(),
                Visible(line.first.text).c_str());
    if (line.times > 1) std::fputs(m_terminal.Colour("dim", CountText(line)).c_str(), stdout);
    std::fputs("\n", stdout);
  }

  int m_lowestRank;
  Terminal m_terminal = Terminal::OfStandardOutput();
  Repeats m_repeats{[this](const RepeatedLine& line) { PrintLine(line); }};
};

// Waits a second. False when the output was closed or a signal came.
bool WaitForMore() {
  pollfd output = {.fd = STDOUT_FILENO, .events = 0, .revents = 0};
  const int ready = poll(&output, 1, kLookEveryMilliseconds);
  return ready == 0 && !g_isEnded;
}

// Says on standard error what could not be read. The exit status.
int Report(const LogsRead& read) {
  const bool isSame = read.text.reason == read.database.reason;
  for (const std::string& reason : {read.text.reason, isSame ? "" : read.database.reason}) {
    if (!reason.empty()) std::fprintf(stderr, "brennik-status: %s\n", reason.c_str());
  }
  return read.text || read.database ? 0 : 1;
}

}  // namespace

int ShowLog(const Options& options) {
  LogRange range;
  if (!options.since.empty()) {
    range.since = MomentOf(options.since);
    if (!range.since) {
      std::fprintf(stderr,
                   "brennik-status: --since takes RFC 3339 (2026-11-22T04:00:00Z) or "
                   "\"YYYY-MM-DD hh:mm[:ss]\" in local time\n");
      return kBadArguments;
    }
  }
  EndInOrder();
  LogStream stream(Place(options.root), range);
  Printer printer(options);
  const EachRecord print = [&printer](const LogRecord& record) { return printer.Print(record); };
  const LogsRead read = stream.Read(print);
  bool isRead = printer.Flush();
  const int exitStatus = Report(read);
  while (options.follow && exitStatus == 0 && isRead && WaitForMore()) {
    stream.Read(print);
    isRead = printer.Flush();
  }
  return exitStatus;
}

}  // namespace status
