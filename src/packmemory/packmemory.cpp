#include "packmemory/packmemory.h"

#include <cstring>

#include "config/snset.h"
#include "util/json.h"
#include "util/text.h"

namespace {

int StoreBody(const rapidjson::StringBuffer& body, char* buf, int size) {
  if (size < 2) return 0;  // no room for a single character
  util::PrintText(buf, static_cast<std::size_t>(size) - 1, "%s", body.GetString());
  return static_cast<int>(std::strlen(buf));
}

}  // namespace

int CPackMemory::CreateAuthorizeMemory(char* buf, int size) {
  constexpr int kApplyType = 0;
  rapidjson::StringBuffer body;
  rapidjson::Writer writer(body);
  writer.StartObject();
  writer.Key("sn");
  writer.String(GetCsnSetInstance().GetSn());
  writer.Key("applyType");
  writer.Int(kApplyType);
  writer.EndObject();
  return StoreBody(body, buf, size);
}

int CPackMemory::CreateRecallMemory(char* buf, int size) {
  rapidjson::StringBuffer body;
  rapidjson::Writer writer(body);
  writer.StartObject();
  writer.Key("sn");
  writer.String(GetCsnSetInstance().GetSn());
  writer.EndObject();
  return StoreBody(body, buf, size);
}

CPackMemory& GetCPackMemoryInstance() {
  static CPackMemory instance;
  return instance;
}
