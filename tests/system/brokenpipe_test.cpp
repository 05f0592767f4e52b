// Connections that break while the service sends.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/rawserver.h"
#include "system/support/answers.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/file.h"

namespace {

// Grants the first login and then resets every connection after its first bytes, while the client
// still sends. It serves on a thread of its own.
class ResettingServer {
 public:
  ResettingServer() : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int smallest = 1;  // hardly anything fits into the connection before it is read
    setsockopt(m_listener.Get(), SOL_SOCKET, SO_RCVBUF, &smallest, sizeof(smallest));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener.Get(), generic, length) != 0 || listen(m_listener.Get(), 8) != 0 ||
        getsockname(m_listener.Get(), generic, &length) != 0) {
      throw std::runtime_error("no loopback port to be had");
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::jthread([this] { Serve(); });
  }
  ~ResettingServer() { shutdown(m_listener.Get(), SHUT_RDWR); }
  ResettingServer(const ResettingServer&) = delete;
  ResettingServer& operator=(const ResettingServer&) = delete;

  int Port() const { return m_port; }

 private:
  void Serve() const {
    for (bool granted = false;; granted = true) {
      const util::Descriptor connection(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
      if (!connection) return;
      granted ? Reset(connection.Get()) : Grant(connection.Get());
    }
  }

  static void Grant(int connection) {
    std::string request;
    char part[1024];
    while (!request.ends_with('}')) {
      const ssize_t count = recv(connection, part, sizeof(part), 0);
      if (count <= 0) return;
      request.append(part, static_cast<std::size_t>(count));
    }
    test::Send(connection, test::HttpAnswer(200, test::kLoginGranted));
  }

  static void Reset(int connection) {
    char first[16];
    recv(connection, first, sizeof(first), 0);
    const linger reset{.l_onoff = 1, .l_linger = 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
  }

  util::Descriptor m_listener;
  int m_port = 0;
  std::jthread m_thread;  // last: it uses the others
};

using BrokenPipe = test::ConnectedTest;

TEST_F(BrokenPipe, DoesNotEndTheService) {
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 0));
  ASSERT_EQ(kill(service.Pid(), SIGPIPE), 0);

  service.RunUntil(At(12, 6, 30));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_EQ(m_cloud.AcceptedUploads().size(), 2U);
}

TEST_F(BrokenPipe, LeavesTheRowPending) {
  const ResettingServer server;
  test::SystemFile(server.Port()).Write();
  const std::string name = test::RealDataName(At(10, 0));
  test::WriteFile(test::DataFilePath(name), std::string(40000, 'x'));
  test::WriteLedger({{name}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 2, 30));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_EQ(test::ReadLedger(), std::vector<test::LedgerRow>{{name}});
}

}  // namespace
