// The cloud's answer to the address check, which can move data traffic to another host.
#include "config/sysset.h"
#include "service/cloudlink.h"
#include "support/world.h"

namespace {

constexpr char kAddressBefore[] = "192.0.2.1";
constexpr std::size_t kLongestAddress = 63;

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  GetCSysSetInstance().SetRealIPAddress(kAddressBefore);
  std::int32_t successFlag = 0;
  const std::size_t verdict = OnSkipAddressAnswer(fuzz::Text(data), 1, size, &successFlag);

  fuzz::Expect(successFlag == (verdict == 0 ? 1 : 0), "verdict and success flag agree");
  const std::string_view address = GetCSysSetInstance().GetRealIpAddress();
  fuzz::Expect(!address.empty() && address.size() <= kLongestAddress, "an address is in use");
  fuzz::Expect(address.find(':') == std::string_view::npos, "the address in use has no port");
  const bool couldMove = fuzz::Content(data, size).find(':') != std::string_view::npos;
  fuzz::Expect(couldMove || address == kAddressBefore, "only an object moves the address in use");
  return 0;
}
