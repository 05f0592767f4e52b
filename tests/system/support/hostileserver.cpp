#include "system/support/hostileserver.h"

#include <algorithm>
#include <iterator>

#include "system/support/answers.h"

namespace test {
namespace {

struct Facts {
  Exchange exchange;
  const char* path;
  const char* good;  // the body of a sound answer
};

constexpr char kOrder[] =
    R"({"status":0,"message":"ok","data":[{"sn":"TS20240117","id":7,"devs":[{"groupId":"1",)"
    R"("eqpId":"3","ids":[{"pointId":"0001","beginTime":"2024-03-07 10:00:00",)"
    R"("endTime":"2024-03-07 10:30:00"}]}]}]})";
constexpr char kRedirect[] =
    R"({"status":0,"message":"ok","data":[{"realIpAddress":"localhost:1"}]})";

constexpr Facts kExchanges[] = {
    {kLogin, "/eqpapi/EqpAuthorize", kLoginGranted},
    {kAddress, "/eqpapi/EqpSkipAddress", kRedirect},
    {kCheck, "/eqpapi/EqpDataIfRecall", kOrder},
    {kRealData, "/eqpapi/EqpUploadDataInfo", kAccepted},
    {kAlarmData, "/eqpapi/EqpUploadAlarmDataInfo", kAccepted},
    {kRecallData, "/eqpapi/EqpDataRecall", kAccepted},
};

}  // namespace

HostileServer::HostileServer(Misdeed misdeed, long answersWanted)
    : m_misdeed(std::move(misdeed)), m_answersWanted(answersWanted) {
  for (const auto& facts : kExchanges) {
    m_server.HandleApart(facts.path, [this, &facts](const RawRequest& request, int connection) {
      Serve(facts.exchange, request, connection);
    });
  }
}

std::string HostileServer::Effects() const {
  const std::lock_guard lock(m_mutex);
  std::string effects(std::size(kExchanges), '?');
  for (const auto& [exchange, path, good] : kExchanges) {
    long requests = Count(exchange, m_seen.end());
    if (exchange == kCheck) requests = Count(kCheck, FirstOf(kRecallData));
    if (exchange == kAddress) requests = IsRedirectedAtOnce() ? 1 : 2;
    if (requests == 1 || requests == 2) effects[exchange] = requests == 1 ? 'A' : 'R';
  }
  return effects;
}

bool HostileServer::IsFollowed() const {
  const std::lock_guard lock(m_mutex);
  return !m_seen.empty() && m_seen.back().redirected;
}

void HostileServer::Serve(Exchange exchange, const RawRequest& request, int connection) {
  bool first = false;
  bool ordered = true;
  {
    const std::lock_guard lock(m_mutex);
    first = Count(exchange, m_seen.end()) == 0;
    ordered = Count(kRecallData, m_seen.end()) < m_answersWanted;
    m_seen.push_back({exchange, request.head.find("\r\nHost: localhost:") != std::string::npos});
  }
  const char* good = kExchanges[exchange].good;
  if (first) return m_misdeed(connection, good);
  Send(connection, HttpAnswer(200, exchange == kCheck && !ordered ? kNoRedirect : good));
}

// Counts the requests before `end`. This and the next two are called with the mutex held.
long HostileServer::Count(Exchange exchange, Place end) const {
  return std::count_if(m_seen.begin(), end,
                       [=](const Seen& seen) { return seen.exchange == exchange; });
}

HostileServer::Place HostileServer::FirstOf(Exchange exchange) const {
  return std::ranges::find(m_seen, exchange, &Seen::exchange);
}

// Whether a request went to the other address before the second address check.
bool HostileServer::IsRedirectedAtOnce() const {
  const auto first = FirstOf(kAddress);
  if (first == m_seen.end()) return false;
  const auto second = std::find(first + 1, m_seen.end(), Seen{kAddress, false});
  return std::any_of(first, second, [](const Seen& seen) { return seen.redirected; });
}

}  // namespace test
