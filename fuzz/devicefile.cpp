// A device's definition file.
#include "config/channelset.h"
#include "support/catalogue.h"
#include "support/world.h"
#include "util/text.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::InputFile file("/tmp/device.xml");
  file.Write(fuzz::Content(data, size));

  CChannelSet catalogue;
  ST_DEV_ATTR device{};
  util::CopyText(device.Name, file.Path());
  device.ChannelNo = 1;
  device.SlaveId = 3;
  catalogue.LoadDevPointAttr(device);
  fuzz::CheckCatalogue(catalogue);
  return 0;
}
