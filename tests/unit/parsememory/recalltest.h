// What the tests of the recall check's answer share.
#pragma once

#include <string>

#include "parsememory/parsememory.h"
#include "support/gateway.h"

namespace test {

inline constexpr char kSerial[] = "S1";  // of this gateway

// The outcome of one call.
struct ParsedRecall {
  int result = 0;
  ST_CHECKCALL_ACK ack{};
};

inline int ParseRecallInto(ST_CHECKCALL_ACK& ack, const std::string& text,
                           const std::string& serial = kSerial) {
  return GetCParseMemoryInstance().ParseRecallFromMemory(serial.c_str(), &text, &ack);
}

inline ParsedRecall ParseRecall(const std::string& text, const std::string& serial = kSerial) {
  ParsedRecall parsed;
  parsed.result = ParseRecallInto(parsed.ack, text, serial);
  return parsed;
}

inline std::string RecallAnswer(const std::string& data) {
  return R"({"status":0,"message":"ok","data":)" + data + "}";
}

// One order for this gateway, number 5, with finished devices.
inline std::string RecallOrder(const std::string& devices) {
  return RecallAnswer(R"([{"sn":"S1","id":5,"devs":[)" + devices + "]}]");
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

// What it is for: tests of the recall check's answer.
class RecallAnswerTest : public GatewayTest {};

}  // namespace test
