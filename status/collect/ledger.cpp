#include "collect/ledger.h"
namespace status {
Ledger ReadLedger(const Place&, bool, const EachRow&) {
  return {};
}
FoundRow FindRow(const Place&, bool, const std::string&) {
  return {};
}
std::optional<std::time_t> StampOf(const std::string&) {
  return {};
}
}  // namespace status
