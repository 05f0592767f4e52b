#include "cloudfixture.h"

#include "config/snset.h"
#include "config/sysset.h"
#include "support/clock.h"
#include "support/logs.h"
#include "util/paths.h"

namespace test {

SysXml CloudAt(std::uint16_t port) {
  SysXml settings;
  settings.Cloud("cloudip", "127.0.0.1").Cloud("port", std::to_string(port)).Cloud("Dir", "/cloud");
  return settings;
}

void Load(const SysXml& settings) {
  settings.Write();
  GetCSysSetInstance().Open(paths::kSystemFile);
  GetCSysSetInstance().Close();
}

std::string WholeTextLog() {
  EXPECT_TRUE(FlushLogs());
  return ReadFile("/tmp/CloudLog/0307_log.txt");
}

void CloudTest::SetUp() {
  GatewayTest::SetUp();
  WriteFile(paths::kVersionFile, "1.0\n");
  WriteSnXml("Ostra-7K", "S1");
  GetCsnSetInstance().Open(paths::kIdentityFile);
  GetCsnSetInstance().Close();
  Load(CloudAt(m_cloud.Port()));
  DiscardLogs();
  ForgetPauses();
}

}  // namespace test
