#include "main/words.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "collect/machine.h"
#include "main/commands.h"
#include "util/text.h"

namespace status {
namespace {

bool IsReaderGone() {
  pollfd output = {.fd = STDOUT_FILENO, .events = 0, .revents = 0};
  return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

}  // namespace

int EndOfOutput(int exitStatus) {
  errno = 0;
  if ((std::fflush(stdout) == 0 && std::ferror(stdout) == 0) || IsReaderGone()) return exitStatus;
  std::fprintf(stderr, "brennik-status: cannot print%s%s\n", errno == 0 ? "" : ": ",
               errno == 0 ? "" : std::strerror(errno));
  return exitStatus == 0 ? kBadArguments : exitStatus;
}

namespace {

const char* Sentence(LedgerState state) {
  switch (state) {
    case LedgerState::kGood:
      return "";
    case LedgerState::kMissing:
      return "there is no ledger";
    case LedgerState::kForeign:
      return "the ledger is no database, or it is cut short";
    case LedgerState::kNoTable:
      return "the ledger has no table of files";
    case LedgerState::kDamaged:
      return "the ledger's rows are damaged";
    case LedgerState::kBusy:
      return "the ledger is busy: another program holds its lock";
    case LedgerState::kUnfinished:
      return "an unfinished write waits for the service";
    case LedgerState::kUnreadable:
      return "the ledger cannot be read";
  }
  return "";
}

}  // namespace

bool ServiceRuns(const Place& place) {
  if (!place.IsLive()) return false;
  const Fact<pid_t> process = FindService(place);
  return process && *process > 0;
}

std::string WhyNotRead(LedgerState state, const std::string& detail) {
  std::string text = Sentence(state);
  if (!text.empty() && !detail.empty()) text += " (" + detail + ")";
  return text;
}

std::string Count(std::size_t number, const char* what) {
  return util::Format("%zu %s%s", number, what, number == 1 ? "" : "s");
}

}  // namespace status
