// Connections that break while the service sends.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "cloud/simulator.h"
#include "support/rawserver.h"
#include "system/support/answers.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/file.h"

namespace {

// What it is for: a server that resets its connections after the first bytes, while the client
// still sends; `soundAnswers` logins before that are granted. Threads: the test's; it serves on one
// of its own. Owns: the listening socket, the thread.
class ResettingServer {
 public:
  explicit ResettingServer(int soundAnswers)
      : m_soundAnswers(soundAnswers), m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    // Hardly anything fits into the connection before somebody reads.
    const int smallest = 1;
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
    for (int served = 0;; ++served) {
      const util::Descriptor connection(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
      if (!connection) return;
      served < m_soundAnswers ? Grant(connection.Get()) : Reset(connection.Get());
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
    const std::string answer = test::HttpAnswer(200, test::kLoginGranted);
    send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
  }

  static void Reset(int connection) {
    char first[16];
    recv(connection, first, sizeof(first), 0);
    const linger reset{.l_onoff = 1, .l_linger = 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
  }

  int m_soundAnswers;
  util::Descriptor m_listener;
  int m_port = 0;
  std::jthread m_thread;  // last: it uses the others
};

class BrokenPipe : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteEmptyPlant();
  }
};

TEST_F(BrokenPipe, SignalledIsIgnored) {
  cloud::Simulator cloud({});
  test::SystemFile(cloud.Port()).Write();
  const Segment segment({{0x01030001, 1}});
  test::ServiceProcess service(At(12, 0));
  ASSERT_EQ(kill(service.Pid(), SIGPIPE), 0);

  service.RunUntil(At(12, 6, 30));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_EQ(cloud.AcceptedUploads().size(), 2U);
}

TEST_F(BrokenPipe, InTheMiddleOfAnUploadLeavesTheRowPending) {
  const ResettingServer server(1);
  test::SystemFile(server.Port()).Write();
  const std::string name = test::RealDataName(At(10, 0));
  test::WriteFile(test::DataFilePath(name), std::string(40959, 'x'));
  test::WriteLedger({{name}});
  test::ServiceProcess service(At(11, 59, 30));

  service.RunUntil(At(12, 2, 30));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_EQ(test::ReadLedger(), std::vector<test::LedgerRow>{{name}});
  EXPECT_EQ(test::TextLogTimes("send file " + test::DataFilePath(name) + " failed: "),
            (std::vector<std::string>{"12:00:00", "12:01:00", "12:02:00"}));
}

TEST_F(BrokenPipe, InEveryLoginLeavesTheServiceUp) {
  const ResettingServer server(0);
  test::SystemFile(server.Port()).Write();
  const Segment segment({{0x01030001, 1}});
  test::ServiceProcess service(At(12, 0));

  service.RunUntil(At(12, 10, 30));

  EXPECT_FALSE(service.ExitStatus());
  EXPECT_EQ(test::CountResults(0), 3);
}

}  // namespace
