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

template <typename Ack, int (CParseMemory::*parser)(const char*, int, Ack*)>
Parsed<Ack> Parse(const std::string& text) {
  Parsed<Ack> parsed;
  parsed.result = (GetCParseMemoryInstance().*parser)(text.c_str(), 0, &parsed.ack);
  return parsed;
}
constexpr auto ParseUpload = Parse<ST_UPLOAD_FILE_ACK, &CParseMemory::ParseUploadFileFromMemory>;
constexpr auto ParseAuthorize = Parse<ST_AUTH_ACK, &CParseMemory::ParseAuthorizeInfoFromMemory>;
constexpr auto ParseSkipAddress =
    Parse<ST_SKIP_ADDRESS_ACK, &CParseMemory::ParseSkipAddressFromMemory>;

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
