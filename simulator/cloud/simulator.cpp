#include "cloud/simulator.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <mutex>
#include <ostream>
#include <utility>

#include "cloud/connection.h"
#include "cloud/fault.h"
#include "cloud/requestchecks.h"
#include "util/text.h"

namespace cloud {

namespace {

constexpr int kServerThreads = 8;

void Reject(int httpStatus, const std::string& why, Exchange* exchange) {
  exchange->fault = why;
  exchange->checks = {{"Request", false, "expected a POST request to an endpoint; " + why}};
  exchange->verdict = "HTTP " + std::to_string(httpStatus) + ", " + why;
  exchange->answer.httpStatus = httpStatus;
  exchange->answer.body = StrayEnvelope(why);
}

// What a sound exchange's answer asks of the gateway, for people.
std::string Requests(const Exchange& exchange) {
  std::string text;
  if (!exchange.redirect.empty()) text += ", redirected to " + exchange.redirect;
  for (const std::int32_t order : exchange.orders) text += ", ordered " + std::to_string(order);
  return text;
}

std::string Seconds(std::chrono::milliseconds time) {
  return util::Format("%.1f s", std::chrono::duration<double>(time).count());
}

void AnswerAsTold(const Behaviour& behaviour, Exchange* exchange) {
  Answer& answer = exchange->answer;
  switch (behaviour.action) {
    case Action::kRefuse:
      answer.body = Envelope(*exchange->endpoint, kStatusRefused, "refused");
      exchange->verdict = "refused";
      return;
    case Action::kStatus:
      answer.httpStatus = behaviour.httpStatus;
      answer.body = behaviour.text;
      exchange->verdict = "answered HTTP " + std::to_string(behaviour.httpStatus);
      return;
    case Action::kNonsense:
      answer.body = behaviour.text;
      answer.contentType = kPlainType;
      exchange->verdict = "answered nonsense";
      return;
    case Action::kClose:
      answer.delivery = Delivery::kNone;
      exchange->verdict = "closed without an answer";
      return;
    case Action::kStall:
      answer.stall = behaviour.stall;
      exchange->verdict += " after " + Seconds(behaviour.stall);
      return;
    case Action::kPieces:
      answer.delivery = Delivery::kPieces;
      answer.stall = behaviour.stall;
      exchange->verdict += " in two pieces, " + Seconds(behaviour.stall) + " apart";
      return;
    case Action::kReset:
      answer.delivery = Delivery::kReset;
      exchange->verdict = "reset without an answer";
      return;
    case Action::kDrip:
      answer.delivery = Delivery::kDrip;
      answer.stall = behaviour.stall;
      exchange->verdict += " byte by byte, " + Seconds(behaviour.stall) + " apart";
      return;
    case Action::kTrailers:
      answer.delivery = Delivery::kTrailers;
      exchange->verdict += ", with trailers without end";
      return;
    case Action::kCut:
      answer.delivery = Delivery::kCut;
      exchange->verdict = "cut short";
      return;
    case Action::kNormal:
      return;
  }
}

// The whole normal answer reaches the gateway.
bool AnswersNormally(const Behaviour& behaviour) {
  return behaviour.action == Action::kNormal || behaviour.action == Action::kStall ||
         behaviour.action == Action::kPieces || behaviour.action == Action::kDrip ||
         behaviour.action == Action::kTrailers;
}

}  // namespace

Simulator::Simulator(Settings settings)
    : m_settings(std::move(settings)),
      m_store(m_settings.uploadFolder),
      m_index(m_settings.indexFile),
      m_journal(m_settings.exchangesRemembered, m_settings.lines),
      m_orders(m_settings.orders),
      m_redirect(m_settings.redirect),
      m_port(m_places.emplace_back(m_settings.address, m_settings.port).listener.Port()) {
  if (!m_settings.secondAddress.empty()) m_places.emplace_back(m_settings.secondAddress, m_port);
  for (const auto& [endpoint, behaviours] : m_settings.scripts) Script(endpoint, behaviours);
  for (const Place& place : m_places) Announce(place.address);  // before a thread prints, too
  for (const Place& place : m_places) Start(place);
}

void Simulator::Announce(const std::string& address) const {
  if (m_settings.lines == nullptr) return;
  *m_settings.lines << "listening on " + address + ":" + std::to_string(Port()) + "\n"
                    << std::flush;
}

void Simulator::Start(const Place& place) {
  for (int i = 0; i < kServerThreads; ++i) {
    m_threads.emplace_back([this, &place] { Serve(place); });
  }
}

void Simulator::Listen(const std::string& address) {
  const std::lock_guard lock(m_placesMutex);
  if (m_stopped || std::ranges::find(m_places, address, &Place::address) != m_places.end()) return;
  Start(m_places.emplace_back(address, m_port));
}

void Simulator::Stop() {
  m_stop.Raise();
  std::vector<std::thread> threads;
  {
    const std::lock_guard lock(m_placesMutex);
    m_stopped = true;
    threads.swap(m_threads);
  }
  for (std::thread& thread : threads) thread.join();
}

void Simulator::Redirect(const std::string& realIpAddress) {
  const std::lock_guard lock(m_redirectMutex);
  m_redirect = realIpAddress;
}

std::string Simulator::RedirectsTo() const {
  const std::lock_guard lock(m_redirectMutex);
  return m_redirect;
}

void Simulator::Serve(const Place& place) {
  while (const util::Descriptor socket = place.listener.Accept(m_stop)) {
    Connection connection(socket.Get(), m_stop);
    const std::optional<Request> request = connection.Receive();
    if (request) connection.Send(Respond(*request, place.address));
  }
}

Answer Simulator::Respond(const Request& request, const std::string& address) {
  Exchange exchange;
  exchange.address = address;
  exchange.onSecondAddress = address != m_settings.address;
  exchange.time = std::time(nullptr);
  exchange.request = request;
  const EndpointFacts* facts = FindEndpoint(request.target, m_settings.prefix);
  if (request.method.empty()) {
    Reject(kHttpBadRequest, "the request is not HTTP", &exchange);
  } else if (facts == nullptr) {
    Reject(kHttpNotFound, "there is no such path", &exchange);
  } else if (request.method != "POST") {
    Reject(kHttpMethodNotAllowed, "only POST is possible here", &exchange);
  } else {
    RespondAt(*facts, &exchange);
  }
  m_index.Append(exchange);
  const std::size_t uploads = m_journal.Record(exchange);
  const bool acceptedUpload = exchange.accepted && facts->IsUpload();
  if (acceptedUpload && m_settings.onAcceptedUpload) m_settings.onAcceptedUpload(uploads);
  return exchange.answer;
}

void Simulator::RespondAt(const EndpointFacts& facts, Exchange* exchange) {
  exchange->endpoint = facts.endpoint;
  CheckRequest(facts, {m_settings.serialNumber, m_settings.checksHeaders}, exchange);
  CheckOrder(exchange);
  const Behaviour behaviour = m_script.Next(facts.endpoint);
  const bool normal = AnswersNormally(behaviour);
  Keep(normal && exchange->fault.empty(), exchange);
  if (normal || behaviour.action == Action::kCut) AnswerAsUsual(exchange);
  exchange->accepted = normal && exchange->fault.empty();
  AnswerAsTold(behaviour, exchange);
  if (exchange->accepted && exchange->recall) {
    m_orders.Accept(exchange->serialNumber, *exchange->recall);
  }
}

void Simulator::CheckOrder(Exchange* exchange) const {
  if (exchange->endpoint != Endpoint::kCallData) return;
  CheckList list(&exchange->checks, &exchange->fault);
  if (!exchange->recall) {
    list.Skip("Order", "Document");
    return;
  }
  list.Make("Order", "the points and the span that were ordered", [&] {
    m_orders.Check(exchange->serialNumber, *exchange->recall);
    return "them, as answer to order " + std::to_string(exchange->recall->id);
  });
}

void Simulator::AnswerAsUsual(Exchange* exchange) {
  if (!exchange->fault.empty()) {
    exchange->verdict = "faulty: " + exchange->fault;
    exchange->answer.body = Envelope(*exchange->endpoint, kStatusRefused, exchange->fault);
    return;
  }
  const EnvelopeData data = DataFor(exchange);
  exchange->verdict = "accepted" + Requests(*exchange);
  exchange->answer.body = Envelope(*exchange->endpoint, kStatusDone, "ok", data);
}

EnvelopeData Simulator::DataFor(Exchange* exchange) {
  EnvelopeData data;
  if (exchange->endpoint == Endpoint::kSkipAddress) {
    const std::lock_guard lock(m_redirectMutex);
    data.redirect = m_redirect;
  }
  if (exchange->endpoint == Endpoint::kRecallCheck) {
    data.orders = m_orders.Take(exchange->serialNumber);
  }
  exchange->redirect = data.redirect;
  for (const RecallOrder& order : data.orders) exchange->orders.push_back(order.id);
  return data;
}

void Simulator::Keep(bool accepted, Exchange* exchange) {
  try {
    m_store.Keep(accepted, exchange);
  } catch (const Fault& fault) {
    exchange->fault = fault.what();
    exchange->checks.push_back({"Keeping", false, fault.what()});
  }
}

}  // namespace cloud
