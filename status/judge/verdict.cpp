#include "judge/verdict.h"
namespace status {
Thresholds InForce(const Thresholds& wanted, const Facts&) {
  return wanted;
}
Results ResultsOf(const Facts&) {
  return {};
}
Verdict Judge(const Facts&, const Thresholds&) {
  return {};
}
}  // namespace status
