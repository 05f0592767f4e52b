#include "parsememory/parsememory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <string_view>

#include "config/sysset.h"
#include "log/log.h"
#include "util/json.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr std::size_t kAddressBytes = 64;
constexpr std::time_t kMinuteSeconds = 60;

// The document of an answer, or nothing when the text is no JSON. Parsed without recursion, so that
// no depth of nesting can overflow a worker's stack.
std::optional<rapidjson::Document> ParseText(util::Mutex& mutex, const char* text) {
  const std::lock_guard lock(mutex);
  rapidjson::Document document;
  rapidjson::StringStream stream(text);
  document.ParseStream<rapidjson::kParseIterativeFlag>(stream);
  if (document.HasParseError()) return std::nullopt;
  return document;
}

bool HasMembers(const rapidjson::Value& object, std::initializer_list<const char*> names) {
  return std::ranges::all_of(names, [&](const char* name) { return object.HasMember(name); });
}

// "status" and "message", which every answer carries.
template <typename Ack>
void ReadEnvelope(const rapidjson::Document& document, Ack& ack) {
  ack.status = document["status"].GetInt();
  util::CopyText(ack.message, document["message"].GetString());
}

// Redirects data traffic to the host of "host:port" or "host".
void FollowRedirect(const char* address, ST_SKIP_ADDRESS_ACK& ack) {
  char text[kAddressBytes];
  util::CopyText(text, address);
  const std::string_view host = std::string_view(text).substr(0, std::strcspn(text, ":"));
  if (host.empty()) return;
  util::CopyText(ack.realIpAddress, host);
  GetCSysSetInstance().SetRealIPAddress(ack.realIpAddress);
}

// At most four hexadecimal digits, as sscanf reads them.
std::uint32_t PointNumber(const char* text) {
  unsigned number = 0;
  std::sscanf(text, "%04x", &number);  // NOLINT(cert-err34-c): other text counts as 0
  return number;
}

std::uint32_t RoundUpToMinute(const char* timeMark) {
  const std::time_t time = util::UnixTime(util::ReadTimeMark(timeMark));
  const std::time_t past = (time % kMinuteSeconds + kMinuteSeconds) % kMinuteSeconds;
  return static_cast<std::uint32_t>(past == 0 ? time : time - past + kMinuteSeconds);
}

ST_SINGLE_CALL_DEV ReadDevice(const rapidjson::Value& element) {
  ST_SINGLE_CALL_DEV device{};
  device.groupId = util::Decimal(element["groupId"].GetString());
  device.eqpId = util::Decimal(element["eqpId"].GetString());
  for (const auto& id : element["ids"].GetArray()) {
    if (!HasMembers(id, {"pointId", "beginTime", "endTime"})) continue;
    device.points.push_back({.pointId = PointNumber(id["pointId"].GetString()),
                             .beginTime = RoundUpToMinute(id["beginTime"].GetString()),
                             .endTime = RoundUpToMinute(id["endTime"].GetString())});
  }
  return device;
}

void ReadOrder(const rapidjson::Value& order, ST_CHECKCALL_ACK& ack) {
  util::CopyText(ack.sn, order["sn"].GetString());
  ack.id = order["id"].GetInt();
  for (const auto& device : order["devs"].GetArray()) {
    if (HasMembers(device, {"groupId", "eqpId", "ids"})) ack.devs.push_back(ReadDevice(device));
  }
}

}  // namespace

int CParseMemory::ParseUploadFileFromMemory(const char* text, int /*length*/,
                                            ST_UPLOAD_FILE_ACK* ack) {
  const auto document = ParseText(m_parseMutex, text);
  if (!document || !HasMembers(*document, {"status", "message"})) return -1;
  ReadEnvelope(*document, *ack);
  return 0;
}

int CParseMemory::ParseAuthorizeInfoFromMemory(const char* text, int /*length*/, ST_AUTH_ACK* ack) {
  const auto document = ParseText(m_parseMutex, text);
  if (!document) return -1;
  if (!HasMembers(*document, {"data", "status", "message"})) {
    log_Text(WARN, "Authorize recv:%s ,missing Member", text);
    return -1;
  }
  for (const auto& element : (*document)["data"].GetArray()) {
    if (!element.HasMember("seqStatus")) {
      log_Text(WARN, "Authorize missing seqStatus Member");
      return -1;
    }
    ack->seqStatus = element["seqStatus"].GetInt();
  }
  ReadEnvelope(*document, *ack);
  return 0;
}

int CParseMemory::ParseSkipAddressFromMemory(const char* text, int /*length*/,
                                             ST_SKIP_ADDRESS_ACK* ack) {
  const auto document = ParseText(m_parseMutex, text);
  if (!document) return -1;
  if (!HasMembers(*document, {"data", "status", "message"})) {
    log_Text(WARN, "SkipAddress recv:%s ,missing Member", text);
    return -1;
  }
  for (const auto& element : (*document)["data"].GetArray()) {
    if (!element.HasMember("realIpAddress")) {
      log_Text(WARN, "SkipAddress missing realIpAddress Member");
      return -1;
    }
    FollowRedirect(element["realIpAddress"].GetString(), *ack);
  }
  ReadEnvelope(*document, *ack);
  return 0;
}

int CParseMemory::ParseRecallFromMemory(const char* sn, const std::string* text,
                                        ST_CHECKCALL_ACK* ack) {
  const auto document = ParseText(m_parseMutex, text->c_str());
  if (!document || (*document)["status"].GetInt() != 0) return -1;
  for (const auto& order : (*document)["data"].GetArray()) {
    if (std::strcmp(order["sn"].GetString(), sn) != 0) continue;
    ReadOrder(order, *ack);
    break;
  }
  return 0;
}

std::int32_t CParseMemory::TimeString2Timet(const char* text) {
  return static_cast<std::int32_t>(util::UnixTime(util::ReadTimeMark(text)));
}

CParseMemory& GetCParseMemoryInstance() {
  static CParseMemory instance;
  return instance;
}
