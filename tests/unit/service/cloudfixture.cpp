#include "cloudfixture.h"

#include <vector>

#include "config/snset.h"
#include "config/sysset.h"
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
  DiscardLogs();
}

std::string AddressInUse() {
  return GetCSysSetInstance().GetRealIpAddress();
}

std::size_t Judge(Callback callback, const std::string& answer, void* data) {
  std::vector<char> bytes(answer.begin(), answer.end());
  bytes.reserve(1);  // an empty answer is not a null one
  return callback(bytes.data(), 1, bytes.size(), data);
}

void CloudTest::SetUp() {
  GatewayTest::SetUp();
  WriteFile(paths::kVersionFile, "1.0\n");
  WriteSnXml("Ostra-7K", "S1");
  GetCsnSetInstance().Open(paths::kIdentityFile);
  GetCsnSetInstance().Close();
  Load(CloudAt(m_cloud.Port()));
}

std::string CloudTest::Request() const {
  const auto requests = m_cloud.Requests();
  if (requests.size() != 1) return std::to_string(requests.size()) + " requests";
  const std::string line = requests[0].Line();
  const auto path = line.find(' ') + 1;
  return line.substr(path, line.find(' ', path) - path) + " " + requests[0].body;
}

}  // namespace test
