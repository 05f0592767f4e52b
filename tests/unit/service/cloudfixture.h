// A gateway whose configured cloud is a server of the test's own.
#pragma once

#include <cstdint>
#include <string>

#include "support/configs.h"
#include "support/gateway.h"
#include "support/rawserver.h"

namespace test {

// What a success flag holds that nobody has set.
inline constexpr std::int32_t kUntouched = 7;

// Settings that lead to a cloud on this port of 127.0.0.1, under the prefix "/cloud".
SysXml CloudAt(std::uint16_t port);
// Writes the settings and takes them over, as start-up does.
void Load(const SysXml& settings);
// The cloud host that data uploads and recall checks use now.
std::string AddressInUse();

// Hands the bytes, which stand in memory of exactly their size, to an answer callback.
using Callback = std::size_t (*)(char* text, std::size_t size, std::size_t count, void* data);
std::size_t Judge(Callback callback, const std::string& answer, void* data);

// Tests of an answer callback that sets a success flag.
template <Callback kCallback>
class AnswerTest : public GatewayTest {
 protected:
  std::size_t Judge(const std::string& answer) { return test::Judge(kCallback, answer, &m_flag); }

  std::int32_t m_flag = kUntouched;
};

// Tests of what the gateway and its cloud say to each other. The gateway's serial number is S1.
class CloudTest : public GatewayTest {
 protected:
  void SetUp() override;

  // The only request that the cloud has received, as "path body"; otherwise how many there were.
  std::string Request() const;

  RawServer m_cloud;
};

}  // namespace test
