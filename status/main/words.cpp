#include "main/words.h"

#include "collect/machine.h"
#include "util/text.h"

namespace status {
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
