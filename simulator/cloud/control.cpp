#include "cloud/control.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "cloud/listener.h"

namespace cloud {

namespace {

using program::ControlText;
using program::ControlWriter;
using rapidjson::Value;

Endpoint EndpointOf(const Value& order) {
  const std::string name = ControlText(order, "endpoint");
  for (const EndpointFacts& facts : kEndpointFacts) {
    if (name == facts.name) return facts.endpoint;
  }
  throw std::invalid_argument("there is no endpoint '" + name + "'");
}

void Stand(Simulator& simulator, const Value& order) {
  const Endpoint endpoint = EndpointOf(order);
  const std::vector<Behaviour> behaviours = ParseBehaviours(ControlText(order, "behaviour"));
  if (behaviours.size() != 1) throw std::invalid_argument("\"behaviour\" is not a single one");
  simulator.Stand(endpoint, behaviours.front());
}

void AnswerNormally(Simulator& simulator, const Value& order) {
  if (order.HasMember("endpoint")) return simulator.AnswerNormally(EndpointOf(order));
  for (const EndpointFacts& facts : kEndpointFacts) simulator.AnswerNormally(facts.endpoint);
}

void Redirect(Simulator& simulator, const Value& order) {
  const std::string to = ControlText(order, "to");
  if (!to.empty()) simulator.Listen(to.substr(0, to.find(':')));
  simulator.Redirect(to);
}

void WriteState(const Simulator& simulator, ControlWriter& answer) {
  answer.Key("standing");
  answer.StartObject();
  for (const EndpointFacts& facts : kEndpointFacts) {
    const Behaviour standing = simulator.Standing(facts.endpoint);
    if (standing == Behaviour::Normal()) continue;
    answer.Key(facts.name);
    answer.String(ToText(standing).c_str());
  }
  answer.EndObject();
  answer.Key("queued");
  answer.StartObject();
  for (const EndpointFacts& facts : kEndpointFacts) {
    const std::size_t queued = simulator.Queued(facts.endpoint);
    if (queued == 0) continue;
    answer.Key(facts.name);
    answer.Uint64(queued);
  }
  answer.EndObject();
  answer.Key("redirect");
  answer.String(simulator.RedirectsTo().c_str());
  answer.Key("orders");
  answer.StartArray();
  for (const std::int32_t id : simulator.StandingOrderIds()) answer.Int(id);
  answer.EndArray();
}

}  // namespace

void CarryOut(Simulator& simulator, const Value& order, ControlWriter& answer) {
  const std::string what = ControlText(order, "do");
  if (what == "stand") return Stand(simulator, order);
  if (what == "normal") return AnswerNormally(simulator, order);
  if (what == "redirect") return Redirect(simulator, order);
  if (what == "order") return simulator.Order(ParseOrder(ControlText(order, "order")));
  if (what == "state") return WriteState(simulator, answer);
  if (what == "script") {
    return simulator.Script(EndpointOf(order), ParseBehaviours(ControlText(order, "behaviours")));
  }
  throw std::invalid_argument("there is no order '" + what + "'");
}

}  // namespace cloud
