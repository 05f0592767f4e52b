#include "console/web/router.h"

#include "console/web/utf8.h"

namespace console {

void WriteText(JsonWriter& json, const char* key, const std::string& text) {
  const std::string valid = ValidUtf8(text);
  json.Key(key);
  json.String(valid.c_str(), static_cast<rapidjson::SizeType>(valid.size()));
}

Reply JsonReply(const std::function<void(JsonWriter&)>& write) {
  rapidjson::StringBuffer text;
  JsonWriter writer(text);
  write(writer);
  return {.body = {text.GetString(), text.GetSize()}};
}

Reply ErrorReply(int status, const std::string& text) {
  Reply reply = JsonReply([&](JsonWriter& json) {
    json.StartObject();
    WriteText(json, "error", text);
    json.EndObject();
  });
  reply.status = status;
  return reply;
}

}  // namespace console
