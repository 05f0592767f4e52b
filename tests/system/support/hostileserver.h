// A cloud that misbehaves once in each exchange.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "support/rawserver.h"

namespace test {

enum Exchange { kLogin, kAddress, kCheck, kRealData, kAlarmData, kRecallData };

// What a server does with a connection instead of sending the sound answer with this body.
using Misdeed = std::function<void(int connection, const std::string& good)>;

// Answers the first request of each exchange by the misdeed and all later ones soundly. A sound
// address check leads to "localhost". Order 7 stands in the sound recall checks until it has been
// answered `answersWanted` times.
class HostileServer {
 public:
  HostileServer(Misdeed misdeed, long answersWanted);

  int Port() const { return m_server.Port(); }
  // A sign for each exchange, in the order of the enumeration: A when the service accepted the
  // misdeed like a sound answer, R when it repeated the exchange and accepted the second answer, ?
  // for anything else.
  std::string Effects() const;
  // Whether the latest request went to the redirected address.
  bool IsFollowed() const;

 private:
  struct Seen {
    Exchange exchange;
    bool redirected;  // to "localhost"
    bool operator==(const Seen&) const = default;
  };
  using Place = std::vector<Seen>::const_iterator;

  void Serve(Exchange exchange, const RawRequest& request, int connection);
  long Count(Exchange exchange, Place end) const;
  Place FirstOf(Exchange exchange) const;
  bool IsRedirectedAtOnce() const;

  const Misdeed m_misdeed;
  const long m_answersWanted;
  mutable std::mutex m_mutex;  // guards the requests
  std::vector<Seen> m_seen;
  RawServer m_server;  // last: its threads see all of the above
};

}  // namespace test
