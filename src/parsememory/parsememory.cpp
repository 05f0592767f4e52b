#include "parsememory/parsememory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <mutex>
#include <string_view>

#include "config/sysset.h"
#include "log/log.h"
#include "util/json.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

// The shared first step: false when the text is no JSON. Parsed without recursion, so that no depth
// of nesting can overflow a worker's stack.
bool ParseText(util::Mutex& mutex, const char* text, rapidjson::Document& document) {
  const std::lock_guard lock(mutex);
  rapidjson::StringStream stream(text);
  document.ParseStream<rapidjson::kParseIterativeFlag>(stream);
  return !document.HasParseError();
}

bool HasMembers(const rapidjson::Value& object, std::initializer_list<const char*> names) {
  return std::ranges::all_of(names, [&](const char* name) { return object.HasMember(name); });
}

// "status" and "message", which every answer carries.
template <typename Ack>
void ReadEnvelope(const rapidjson::Document& document, Ack* ack) {
  ack->status = document["status"].GetInt();
  util::CopyText(ack->message, document["message"].GetString());
}

constexpr std::size_t kAddressBytes = 64;
constexpr std::time_t kMinuteSeconds = 60;

// Redirects data traffic to the host of "host:port" or "host".
void FollowRedirect(const char* address, ST_SKIP_ADDRESS_ACK* ack) {
  char text[kAddressBytes];
  util::CopyText(text, address);
  const std::string_view host = std::string_view(text).substr(0, std::strcspn(text, ":"));
  if (host.empty()) return;
  util::CopyText(ack->realIpAddress, host);
  GetCSysSetInstance().SetRealIPAddress(ack->realIpAddress);
}

// At most four hexadecimal digits, as sscanf reads them.
std::uint32_t PointNumber(const char* text) {
  unsigned number = 0;
  std::sscanf(text, "%04x", &number);  // NOLINT(cert-err34-c): the width and the stop are meant
  return number;
}

std::uint32_t MinuteFrom(const char* timeMark) {
  const std::time_t time = util::UnixTime(util::ReadTimeMark(timeMark));
  const std::time_t past = (time % kMinuteSeconds + kMinuteSeconds) % kMinuteSeconds;
  return static_cast<std::uint32_t>(past == 0 ? time : time - past + kMinuteSeconds);
}

ST_SINGLE_CALL_DEV ReadDevice(const rapidjson::Value& element) {
  ST_SINGLE_CALL_DEV device{};
  device.groupId = util::Decimal(element["groupId"].GetString());
  device.eqpId = util::Decimal(element["eqpId"].GetString());
  const auto& ids = element["ids"];
  for (rapidjson::SizeType i = 0; i < ids.Size(); ++i) {
    const auto& id = ids[i];
    if (!HasMembers(id, {"pointId", "beginTime", "endTime"})) continue;
    device.points.push_back({.pointId = PointNumber(id["pointId"].GetString()),
                             .beginTime = MinuteFrom(id["beginTime"].GetString()),
                             .endTime = MinuteFrom(id["endTime"].GetString())});
  }
  return device;
}

void ReadOrder(const rapidjson::Value& order, ST_CHECKCALL_ACK* ack) {
  util::CopyText(ack->sn, order["sn"].GetString());
  ack->id = order["id"].GetInt();
  const auto& devices = order["devs"];
  for (rapidjson::SizeType i = 0; i < devices.Size(); ++i) {
    if (!HasMembers(devices[i], {"groupId", "eqpId", "ids"})) continue;
    ack->devs.push_back(ReadDevice(devices[i]));
  }
}

}  // namespace

int CParseMemory::ParseUploadFileFromMemory(const char* text, int /*length*/,
                                            ST_UPLOAD_FILE_ACK* ack) {
  rapidjson::Document document;
  if (!ParseText(m_parseMutex, text, document)) return -1;
  if (!HasMembers(document, {"status", "message"})) return -1;

  ReadEnvelope(document, ack);
  return 0;
}

int CParseMemory::ParseAuthorizeInfoFromMemory(const char* text, int /*length*/, ST_AUTH_ACK* ack) {
  rapidjson::Document document;
  if (!ParseText(m_parseMutex, text, document)) return -1;
  if (!HasMembers(document, {"data", "status", "message"})) {
    log_Text(WARN, "Authorize recv:%s ,missing Member", text);
    return -1;
  }
  const auto& data = document["data"];
  for (rapidjson::SizeType i = 0; i < data.Size(); ++i) {
    if (!data[i].HasMember("seqStatus")) {
      log_Text(WARN, "Authorize missing seqStatus Member");
      return -1;
    }
    ack->seqStatus = data[i]["seqStatus"].GetInt();
  }
  ReadEnvelope(document, ack);
  return 0;
}

int CParseMemory::ParseSkipAddressFromMemory(const char* text, int /*length*/,
                                             ST_SKIP_ADDRESS_ACK* ack) {
  rapidjson::Document document;
  if (!ParseText(m_parseMutex, text, document)) return -1;
  if (!HasMembers(document, {"data", "status", "message"})) {
    log_Text(WARN, "SkipAddress recv:%s ,missing Member", text);
    return -1;
  }
  const auto& data = document["data"];
  for (rapidjson::SizeType i = 0; i < data.Size(); ++i) {
    if (!data[i].HasMember("realIpAddress")) {
      log_Text(WARN, "SkipAddress missing realIpAddress Member");
      return -1;
    }
    FollowRedirect(data[i]["realIpAddress"].GetString(), ack);
  }
  ReadEnvelope(document, ack);
  return 0;
}

int CParseMemory::ParseRecallFromMemory(const char* sn, const std::string* text,
                                        ST_CHECKCALL_ACK* ack) {
  rapidjson::Document document;
  if (!ParseText(m_parseMutex, text->c_str(), document)) return -1;
  if (document["status"].GetInt() != 0) return -1;
  const auto& data = document["data"];
  for (rapidjson::SizeType i = 0; i < data.Size(); ++i) {
    if (std::strcmp(data[i]["sn"].GetString(), sn) != 0) continue;
    ReadOrder(data[i], ack);
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
