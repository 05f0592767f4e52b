#include "console/faults/cloudorders.h"

#include <algorithm>
#include <exception>
#include <string_view>

#include "util/json.h"
#include "util/text.h"

namespace console {

namespace {

rapidjson::Document StateOf(Actions& actions) {
  rapidjson::Document state;
  state.Parse(actions.Cloud(R"({"do":"state"})").c_str());
  return state;
}

}  // namespace

std::vector<std::string> Kinds(const std::string& kind) {
  if (kind == "all") return {"realdata", "alarmdata", "calldata"};
  return {kind};
}

void Stand(Actions& actions, const std::vector<std::string>& endpoints,
           const std::string& behaviour) {
  try {
    for (const std::string& endpoint : endpoints) {
      actions.Cloud(util::Format(R"({"do":"stand","endpoint":"%s","behaviour":"%s"})",
                                 endpoint.c_str(), behaviour.c_str()));
    }
  } catch (const std::exception&) {
    Normal(actions, endpoints);  // all or none
    throw;
  }
}

void Normal(Actions& actions, const std::vector<std::string>& endpoints) {
  for (const std::string& endpoint : endpoints) {
    actions.Cloud(util::Format(R"({"do":"normal","endpoint":"%s"})", endpoint.c_str()));
  }
}

bool Stands(Actions& actions, const std::vector<std::string>& endpoints) {
  const rapidjson::Document state = StateOf(actions);
  if (!state.IsObject() || !state.HasMember("standing")) return false;
  const rapidjson::Value& standing = state["standing"];
  return standing.IsObject() && std::ranges::all_of(endpoints, [&](const std::string& endpoint) {
           return standing.HasMember(endpoint.c_str());
         });
}

bool Redirects(Actions& actions, const std::string& address) {
  const rapidjson::Document state = StateOf(actions);
  return state.IsObject() && state.HasMember("redirect") && state["redirect"].IsString() &&
         std::string_view(state["redirect"].GetString()).starts_with(address);
}

std::string Minute(std::time_t time) {
  std::tm parts{};
  localtime_r(&time, &parts);
  char text[32];
  strftime(text, sizeof(text), "%F %H:%M:00", &parts);
  return text;
}

}  // namespace console
