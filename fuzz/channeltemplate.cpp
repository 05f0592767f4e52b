// The channel template. The definition file that the seeds name exists.
#include "config/channelset.h"
#include "support/catalogue.h"
#include "support/world.h"

namespace {

constexpr char kDefinition[] =
    "<DevConfig><NodeProperty><AI><Node Id=\"1\" Name=\"a\" EUUnits=\"V\"/></AI>"
    "<DI><Node Id=\"300\" Name=\"b\"/></DI></NodeProperty></DevConfig>";

const fuzz::InputFile& Definition() {
  static const fuzz::InputFile file("/tmp/d.xml");
  file.Write(kDefinition);
  return file;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::InputFile file("/tmp/Channel-template.xml");
  [[maybe_unused]] static const fuzz::InputFile& definition = Definition();
  file.Write(fuzz::Content(data, size));

  CChannelSet catalogue;
  const bool isUsable = catalogue.Open(file.Path()) == 0;
  fuzz::Expect(isUsable == (catalogue.IsOpen() == 0), "a refused template is not held");
  fuzz::CheckCatalogue(catalogue);
  return 0;
}
