// A configuration that is good, and the check of it.
#pragma once

#include <gmock/gmock.h>

#include "judge/configcheck.h"
#include "support/configs.h"
#include "support/gateway.h"
#include "util/text.h"

namespace status {

inline constexpr char kPump[] = "/tessel/Config/devices/pump.xml";

inline test::SysXml SystemFile() {
  return test::SysXml().Cloud("checked", "1").Cloud("cloudip", "127.0.0.1");
}

// "code file:line text" of every fault, the file without its folder.
inline std::vector<std::string> Told(const ConfigCheck& check) {
  std::vector<std::string> told;
  for (const ConfigFault& fault : check.faults) {
    told.push_back(fault.code + " " + std::string(util::BaseName(fault.file)) + ":" +
                   std::to_string(fault.line) + " " + fault.text);
  }
  return told;
}

class CheckingConfiguration : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    SystemFile().Write();
    test::WriteSnXml("Ostra-7K-M", "TS20240117");
    test::DeviceFile("pump").Node("AI", 1).Node("DI", 2).Write();
    test::ChannelTemplate().Channel(1).Device(3, kPump).Write();
  }

  static ConfigCheck Check(const LogFacts* running = nullptr, const Segment* segment = nullptr) {
    return CheckConfiguration(Place(), LoadConfiguration(Place()), running, segment);
  }
  static ConfigCheck CheckWith(std::map<std::uint32_t, double> published) {
    Segment segment;
    segment.present = Known(true);
    segment.values = Known(std::move(published));
    return Check(nullptr, &segment);
  }
};

}  // namespace status
