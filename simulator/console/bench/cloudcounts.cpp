#include "console/bench/cloudcounts.h"

#include <mutex>
#include <sstream>

#include "cloud/endpoints.h"

namespace console {

CloudCounts::CloudCounts() {
  for (const cloud::EndpointFacts& facts : cloud::kEndpointFacts) m_endpoints[facts.name];
}

void CloudCounts::Take(const std::string& line) {
  std::istringstream words(line);
  std::string time;
  std::string word;
  std::string address;
  words >> time >> word;
  if (word == "at") words >> address >> word;
  if (word.ends_with(":")) word.pop_back();
  const std::lock_guard lock(m_mutex);
  const auto endpoint = m_endpoints.find(word);
  if (endpoint == m_endpoints.end()) return;
  const bool isAccepted = line.find(": accepted") != std::string::npos;
  ++(isAccepted ? endpoint->second.accepted : endpoint->second.refused);
  if (!address.empty()) ++endpoint->second.at[address];
}

int CloudCounts::Accepted(const std::string& endpoint) const {
  const std::lock_guard lock(m_mutex);
  return m_endpoints.at(endpoint).accepted;
}

void CloudCounts::WriteState(JsonWriter& json) const {
  const std::lock_guard lock(m_mutex);
  json.Key("cloud");
  json.StartObject();
  for (const auto& [name, counts] : m_endpoints) {
    json.Key(name.c_str());
    json.StartObject();
    json.Key("accepted"), json.Int(counts.accepted);
    json.Key("refused"), json.Int(counts.refused);
    json.Key("at");
    json.StartObject();
    for (const auto& [address, count] : counts.at) {
      json.Key(address.c_str());
      json.Int(count);
    }
    json.EndObject();
    json.EndObject();
  }
  json.EndObject();
}

}  // namespace console
