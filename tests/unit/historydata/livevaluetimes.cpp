#include "livevaluetimes.h"

#include <map>

#include "datasource/realdata.h"

// CRealData::GetOldTime, under the name that the linker knows.
extern "C" std::uint32_t __wrap__ZNK9CRealData10GetOldTimeEt(const CRealData* values,
                                                             std::uint16_t device);

namespace test {
namespace {

std::map<std::uint16_t, std::uint32_t>& Times() {
  static std::map<std::uint16_t, std::uint32_t> times;
  return times;
}

}  // namespace

void SetLiveValueTime(std::uint16_t device, std::uint32_t time) {
  Times()[device] = time;
}

void ForgetLiveValueTimes() {
  Times().clear();
}

}  // namespace test

std::uint32_t __wrap__ZNK9CRealData10GetOldTimeEt(const CRealData* /*values*/,
                                                  std::uint16_t device) {
  const auto found = test::Times().find(device);
  return found == test::Times().end() ? 0 : found->second;
}
