#include "judge/range.h"
namespace status {
std::optional<Range> Range::Parse(const std::string&) {
  return {};
}
Range Range::Above(double) {
  return {};
}
bool Range::Alarms(double) const {
  return m_inside;
}
}  // namespace status
