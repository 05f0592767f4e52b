#include "console/faults/randomplan.h"

namespace console {

namespace {
constexpr std::size_t kLongestPause = 30;  // gateway seconds
}

RandomPlan::RandomPlan(std::uint32_t seed) : m_numbers(seed) {
  for (const Fault& fault : FaultCatalogue()) {
    if (fault.atRandom) m_faults.push_back(&fault);
  }
  m_next = Make();
}

// The distributions of the standard library may differ between machines.
std::size_t RandomPlan::Below(std::size_t count) {
  return m_numbers() % count;
}

// Numbers stay at their standard: an expectation is sure with it.
RandomPlan::Draw RandomPlan::Make() {
  Draw draw{.fault = m_faults[Below(m_faults.size())]};
  draw.params = StandardParams(*draw.fault);
  for (const FaultParam& param : draw.fault->params) {
    if (param.kind == "choice")
      draw.params[param.name] = param.choices[Below(param.choices.size())];
  }
  draw.pause = static_cast<double>(Below(kLongestPause));
  return draw;
}

}  // namespace console
