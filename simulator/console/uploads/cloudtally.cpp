#include "console/uploads/cloudtally.h"

#include <mutex>
#include <string_view>

#include "cloud/endpoints.h"
#include "console/uploads/text.h"

namespace console {
namespace {

constexpr std::size_t kVerdictsAtOnce = 1000;

// The cloud's verdict on an exchange that it answered normally is "accepted", what it asks of the
// gateway may follow, or "faulty: …".
bool IsNormal(std::string_view verdict) {
  if (verdict.starts_with("faulty: ")) return true;
  return verdict == "accepted" || verdict.starts_with("accepted, redirected") ||
         verdict.starts_with("accepted, ordered");
}

}  // namespace

CloudTally::CloudTally(const CloudIndex& index) : m_index(index) {
  for (const cloud::EndpointFacts& facts : cloud::kEndpointFacts) {
    m_endpoints[facts.name].at = {{"127.0.0.1", 0}, {"127.0.0.2", 0}};  // the two of the bench
  }
}

std::map<std::string, EndpointTally> CloudTally::Endpoints() {
  const std::lock_guard lock(m_mutex);
  Follow();
  return m_endpoints;
}

void CloudTally::Follow() {
  for (;;) {
    const auto exchanges = m_index.VerdictsAfter(m_last, kVerdictsAtOnce);
    if (!exchanges) return;  // the next call tries again
    for (const ExchangeVerdict& exchange : *exchanges) Take(exchange);
    if (exchanges->size() < kVerdictsAtOnce) return;
  }
}

void CloudTally::Take(const ExchangeVerdict& exchange) {
  m_last = exchange.id;
  const auto found = m_endpoints.find(exchange.endpoint);
  if (found == m_endpoints.end()) return;
  EndpointTally& tally = found->second;
  ++tally.asked;
  ++(exchange.accepted ? tally.accepted : tally.refused);
  if (!IsNormal(exchange.verdict)) ++tally.disturbed;
  ++tally.at[exchange.address];
  tally.latestAddress = exchange.address;
  if (exchange.accepted && !exchange.name.empty()) tally.latestAccepted = exchange.name;
}

void CloudTally::WriteState(JsonWriter& json) {
  json.Key("cloud");
  json.StartObject();
  for (const auto& [name, tally] : Endpoints()) {
    json.Key(name.c_str());
    json.StartObject();
    WriteMember(json, "asked", tally.asked);
    WriteMember(json, "accepted", tally.accepted);
    WriteMember(json, "refused", tally.refused);
    WriteMember(json, "disturbed", tally.disturbed);
    json.Key("at");
    json.StartObject();
    for (const auto& [address, count] : tally.at) WriteMember(json, address.c_str(), count);
    json.EndObject();
    WriteMember(json, "latest_address", tally.latestAddress);
    json.EndObject();
  }
  json.EndObject();
}

}  // namespace console
