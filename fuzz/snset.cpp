// The identity file, sn.xml.
#include "config/snset.h"

#include "support/world.h"

namespace {

constexpr std::size_t kLongestSerial = 18;

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::InputFile file("/tmp/sn.xml");
  file.Write(fuzz::Content(data, size));

  CsnSet identity;
  const bool isUsable = identity.Open(file.Path()) == 0;
  const std::size_t length = std::strlen(identity.GetSn());
  fuzz::Expect(length <= kLongestSerial, "the serial number keeps within its field");
  fuzz::Expect(!isUsable || length > 0, "a gateway without a serial number is refused");
  fuzz::Expect(isUsable == identity.IsOpen(), "a refused file is not held");
  return 0;
}
