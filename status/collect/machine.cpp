#include "collect/machine.h"
namespace status {
Card LookAtCard(const Place&) {
  return {};
}
Fact<pid_t> FindService(const Place&) {
  return {};
}
Segment LookAtSegment(const Place&) {
  return {};
}
}  // namespace status
