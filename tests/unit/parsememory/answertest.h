// What the tests of the cloud's answers share.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "parsememory/parsememory.h"
#include "support/gateway.h"
#include "support/logs.h"

namespace test {

inline constexpr char kUntouched = '#';
inline constexpr std::int32_t kUntouchedNumber = 0x23232323;  // four of them

class AnswerTest : public GatewayTest {};

using Texts = std::vector<std::string>;

// The outcome of one call on a record that was filled with '#'.
template <typename Ack>
struct Parsed {
  Parsed() { std::memset(&ack, kUntouched, sizeof(ack)); }
  bool IsUntouched() const {
    const Parsed untouched;
    return std::memcmp(&ack, &untouched.ack, sizeof(ack)) == 0;
  }

  int result = 0;
  Ack ack;
};

inline int ParseInto(ST_UPLOAD_FILE_ACK& ack, const std::string& text) {
  return GetCParseMemoryInstance().ParseUploadFileFromMemory(text.c_str(), 0, &ack);
}
inline int ParseInto(ST_AUTH_ACK& ack, const std::string& text) {
  return GetCParseMemoryInstance().ParseAuthorizeInfoFromMemory(text.c_str(), 0, &ack);
}
inline int ParseInto(ST_SKIP_ADDRESS_ACK& ack, const std::string& text) {
  return GetCParseMemoryInstance().ParseSkipAddressFromMemory(text.c_str(), 0, &ack);
}

template <typename Ack>
Parsed<Ack> Parse(const std::string& text) {
  Parsed<Ack> parsed;
  parsed.result = ParseInto(parsed.ack, text);
  return parsed;
}
constexpr auto ParseUpload = Parse<ST_UPLOAD_FILE_ACK>;
constexpr auto ParseAuthorize = Parse<ST_AUTH_ACK>;
constexpr auto ParseSkipAddress = Parse<ST_SKIP_ADDRESS_ACK>;

inline std::string AnswerWithData(const std::string& data) {
  return R"({"status":0,"message":"ok","data":)" + data + "}";
}

// The outcome of one look for an order.
struct ParsedRecall {
  int result = 0;
  ST_CHECKCALL_ACK ack{};
};

inline int ParseRecallInto(ST_CHECKCALL_ACK& ack, const std::string& text,
                           const std::string& serial = "S1") {
  return GetCParseMemoryInstance().ParseRecallFromMemory(serial.c_str(), &text, &ack);
}
inline ParsedRecall ParseRecall(const std::string& text, const std::string& serial = "S1") {
  ParsedRecall parsed;
  parsed.result = ParseRecallInto(parsed.ack, text, serial);
  return parsed;
}

// One order for this gateway, S1, with the number 5 and finished devices.
inline std::string RecallOrder(const std::string& devices) {
  return AnswerWithData(R"([{"sn":"S1","id":5,"devs":[)" + devices + "]}]");
}
inline std::string RecallDevice(const std::string& ids, const std::string& group = "1",
                                const std::string& address = "3") {
  return R"({"groupId":")" + group + R"(","eqpId":")" + address + R"(","ids":[)" + ids + "]}";
}
inline std::string RecallPoint(const std::string& id,
                               const std::string& begin = "2024-03-01 10:00:00",
                               const std::string& end = "2024-03-01 11:00:00") {
  return R"({"pointId":")" + id + R"(","beginTime":")" + begin + R"(","endTime":")" + end + R"("})";
}

}  // namespace test
