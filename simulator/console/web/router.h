// What the console's parts have in common: calls of the page, replies, and pieces of JSON.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "util/json.h"

namespace console {

// Writes compact JSON.
using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

// One call of /api/…
struct Call {
  std::map<std::string, std::string> query;  // decoded; a repeated name keeps its first value
  const rapidjson::Value* body = nullptr;    // the JSON object of a POST; null in a GET
  // The value of a query parameter, or `otherwise`.
  std::string Get(const std::string& name, const std::string& otherwise = {}) const {
    const auto found = query.find(name);
    return found == query.end() ? otherwise : found->second;
  }
};

struct Reply {
  int status = 200;  // HTTP
  std::string body{};
  std::string type = "application/json";
  std::string downloadName{};  // not empty: the browser saves the body under it
};

// A member with a text, which may hold any bytes: it becomes UTF-8.
void WriteText(JsonWriter& json, const char* key, const std::string& text);
// A reply with the JSON that `write` writes.
Reply JsonReply(const std::function<void(JsonWriter&)>& write);
// {"error": text} with a status of 4xx or 5xx. The text is one sentence for people.
Reply ErrorReply(int status, const std::string& text);

using Handler = std::function<Reply(const Call&)>;

// Knows which function answers a path. Filled before the server starts; afterwards every thread may
// look things up. Handlers run on the server's threads, several at a time.
class Router {
 public:
  void Get(const std::string& path, Handler handler) { m_gets[path] = std::move(handler); }
  void Post(const std::string& path, Handler handler) { m_posts[path] = std::move(handler); }

  const std::map<std::string, Handler>& Gets() const { return m_gets; }
  const std::map<std::string, Handler>& Posts() const { return m_posts; }

 private:
  std::map<std::string, Handler> m_gets;
  std::map<std::string, Handler> m_posts;
};

}  // namespace console
