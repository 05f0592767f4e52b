// A gateway whose configured cloud is a server of the test's own.
#pragma once

#include <cstdint>
#include <string>

#include "support/configs.h"
#include "support/gateway.h"
#include "support/rawserver.h"

namespace test {

// Settings that lead to a cloud on this port of 127.0.0.1, below the prefix "/cloud".
SysXml CloudAt(std::uint16_t port);
// Writes the settings and takes them over, as start-up does.
void Load(const SysXml& settings);

// The text log's bytes, once all is written.
std::string WholeTextLog();

// What it is for: tests of what the gateway and its cloud say to each other. The gateway's serial
// number is S1; nothing has been said yet.
class CloudTest : public GatewayTest {
 protected:
  void SetUp() override;

  // The URL of an endpoint at the cloud.
  std::string Url(const std::string& endpoint) const { return m_cloud.Url("/cloud" + endpoint); }

  RawServer m_cloud;
};

}  // namespace test
