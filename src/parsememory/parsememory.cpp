#include "parsememory/parsememory.h"

#include <algorithm>
#include <initializer_list>
#include <mutex>

#include "log/log.h"
#include "util/json.h"
#include "util/text.h"

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

CParseMemory& GetCParseMemoryInstance() {
  static CParseMemory instance;
  return instance;
}
