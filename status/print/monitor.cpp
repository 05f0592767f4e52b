#include "print/print.h"
namespace status {
std::string MonitorText(const Facts&, const Verdict&, const Thresholds&) {
  return {};
}
}  // namespace status
