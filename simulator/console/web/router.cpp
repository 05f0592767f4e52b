#include "console/web/router.h"

namespace console {

Reply JsonReply(const std::function<void(JsonWriter&)>& write) {
  rapidjson::StringBuffer text;
  JsonWriter writer(text);
  write(writer);
  return {.body = {text.GetString(), text.GetSize()}};
}

Reply ErrorReply(int status, const std::string& text) {
  Reply reply = JsonReply([&](JsonWriter& json) {
    json.StartObject();
    json.Key("error");
    json.String(text.c_str());
    json.EndObject();
  });
  reply.status = status;
  return reply;
}

}  // namespace console
