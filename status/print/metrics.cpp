#include "print/print.h"
namespace status {
std::string MetricsText(const Facts&, const Verdict&) {
  return {};
}
int WriteMetrics(const std::string&, const std::string&) {
  return 1;
}

}  // namespace status
