#include "cloud/simulator.h"

#include <ctime>
#include <ostream>
#include <utility>

#include "cloud/connection.h"
#include "cloud/conversation.h"
#include "cloud/fault.h"
#include "cloud/requestchecks.h"
#include "util/text.h"

namespace cloud {

namespace {

constexpr int kServerThreads = 8;

void Reject(int httpStatus, const std::string& why, Exchange* exchange) {
  exchange->fault = why;
  exchange->verdict = "HTTP " + std::to_string(httpStatus) + ", " + why;
  exchange->answer.httpStatus = httpStatus;
  exchange->answer.body = StrayEnvelope(why);
}

void AnswerNormally(const EndpointFacts& facts, Exchange* exchange) {
  const bool sound = exchange->fault.empty();
  exchange->accepted = sound;
  exchange->verdict = sound ? "accepted" : "faulty: " + exchange->fault;
  exchange->answer.body = Envelope(facts.endpoint, sound ? kStatusDone : kStatusRefused,
                                   sound ? "ok" : exchange->fault);
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
      answer.silent = true;
      exchange->verdict = "closed without an answer";
      return;
    case Action::kStall:
      answer.stall = behaviour.stall;
      exchange->verdict +=
          util::Format(" after %.1f s", std::chrono::duration<double>(behaviour.stall).count());
      return;
    case Action::kNormal:
      return;
  }
}

bool AnswersNormally(const Behaviour& behaviour) {
  return behaviour.action == Action::kNormal || behaviour.action == Action::kStall;
}

}  // namespace

Simulator::Simulator(Settings settings)
    : m_settings(std::move(settings)),
      m_store(m_settings.uploadFolder),
      m_journal(m_settings.exchangesRemembered, m_settings.lines),
      m_listener(m_settings.address, m_settings.port) {
  for (const auto& [endpoint, behaviours] : m_settings.scripts) Script(endpoint, behaviours);
  if (m_settings.lines != nullptr) {
    *m_settings.lines << "listening on " << m_settings.address << ":" << Port() << std::endl;
  }
  PrepareLibrary();
  for (int i = 0; i < kServerThreads; ++i) m_threads.emplace_back([this] { Serve(); });
}

void Simulator::Stop() {
  m_stop.Raise();
  for (std::thread& thread : m_threads) thread.join();
  m_threads.clear();
}

void Simulator::Serve() {
  const auto respond = [this](const Request& request) { return Respond(request); };
  for (;;) {
    const util::Descriptor socket = m_listener.Accept(m_stop);
    if (!socket) return;
    Connection connection(socket.Get(), m_stop);
    Converse(&connection, m_stop, respond);
  }
}

Answer Simulator::Respond(const Request& request) {
  Exchange exchange;
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
  const std::size_t uploads = m_journal.Record(exchange);
  const bool acceptedUpload = exchange.accepted && facts->IsUpload();
  if (acceptedUpload && m_settings.onAcceptedUpload) m_settings.onAcceptedUpload(uploads);
  return exchange.answer;
}

void Simulator::RespondAt(const EndpointFacts& facts, Exchange* exchange) {
  exchange->endpoint = facts.endpoint;
  CheckRequest(facts, m_settings.serialNumber, exchange);
  const Behaviour behaviour = m_script.Next(facts.endpoint);
  Keep(AnswersNormally(behaviour) && exchange->fault.empty(), exchange);
  if (AnswersNormally(behaviour)) AnswerNormally(facts, exchange);
  AnswerAsTold(behaviour, exchange);
}

void Simulator::Keep(bool accepted, Exchange* exchange) {
  try {
    m_store.Keep(accepted, exchange);
  } catch (const Fault& fault) {
    exchange->fault = fault.what();
  }
}

}  // namespace cloud
