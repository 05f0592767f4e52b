// A cloud that misbehaves once in each exchange, and what it does then. In the bytes that it
// says, "@" stands for the sound body of the exchange and "~" for its length in hexadecimal digits.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "support/rawserver.h"

namespace test {

// What a server does on a connection instead of sending the sound answer with this body.
using Misdeed = std::function<void(int connection, const std::string& good)>;

// Sends these bytes.
Misdeed Says(const std::string& bytes);
// Sends a sound head and this body.
Misdeed Answers(const std::string& body);
// Sends the head, then the part again and again, at most so many bytes.
Misdeed Floods(const std::string& head, const std::string& part, std::size_t bytes);
// Sends these bytes and resets the connection.
Misdeed Resets(const std::string& bytes);
// Sends the first bytes at once, the others one a second, then nothing until the client gives up.
Misdeed Stalls(const std::string& atOnce, const std::string& slowly = "");

// Answers the first request of each of the six exchanges by the misdeed and all later ones soundly.
// A sound address check leads to "localhost", and a sound recall check orders a recall.
class HostileServer {
 public:
  explicit HostileServer(Misdeed misdeed);

  int Port() const { return m_server.Port(); }
  // How many of the exchanges have met the misdeed.
  std::size_t Met() const;
  // Whether the latest upload went to the redirected address.
  bool IsFollowed() const;

 private:
  void Serve(const std::string& path, const std::string& good, const RawRequest& request,
             int connection);

  const Misdeed m_misdeed;
  mutable std::mutex m_mutex;           // guards the two below
  std::map<std::string, int> m_counts;  // requests, by path
  std::string m_latestUpload;           // its head
  RawServer m_server;                   // last: its threads use all of the above
};

}  // namespace test
