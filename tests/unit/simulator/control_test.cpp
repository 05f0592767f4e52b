// The control socket of the simulators, driven over real sockets.
#include "program/control.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "util/file.h"

namespace {

using program::ControlClient;
using program::ControlServer;
using std::chrono_literals::operator""ms;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kPath[] = "/tmp/control.sock";

// Repeats a text; refuses everything else.
void Echo(const rapidjson::Value& order, program::ControlWriter& answer) {
  if (program::ControlText(order, "do") != "echo") throw std::invalid_argument("only echo");
  answer.Key("text");
  answer.String(program::ControlText(order, "text", "nothing").c_str());
}

// A plain socket of the test, on either side of kPath.
class Plug {
 public:
  Plug() : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    m_address.sun_family = AF_UNIX;
    std::memcpy(m_address.sun_path, kPath, sizeof(kPath));
  }

  void Connect() { EXPECT_EQ(connect(m_socket.Get(), Address(), sizeof(m_address)), 0); }
  void Bind() { EXPECT_EQ(bind(m_socket.Get(), Address(), sizeof(m_address)), 0); }
  void Listen() { EXPECT_EQ(listen(m_socket.Get(), 1), 0); }
  void Send(const std::string& bytes) {
    EXPECT_EQ(send(m_socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  // The next bytes that come; empty at the end of the connection.
  std::string Receive() {
    std::string bytes(4096, '\0');
    const ssize_t got = recv(m_socket.Get(), bytes.data(), bytes.size(), 0);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
  }

 private:
  const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&m_address); }

  util::Descriptor m_socket;
  sockaddr_un m_address{};
};

struct Control : testing::Test {
  ControlServer server{kPath, Echo};
};

TEST_F(Control, CarriesOutOrdersAndSaysWhyItRefusesOne) {
  const ControlClient client(kPath);

  EXPECT_EQ(client.Call(R"({"do":"echo","text":"hi"})").line, R"({"ok":true,"text":"hi"})");
  EXPECT_EQ(client.Call(R"({"do":"dance"})").error, "only echo");
  EXPECT_EQ(client.Call(R"({"text":"hi"})").error, "\"do\" is not a text");
  EXPECT_EQ(client.Call(R"([1])").error, "the line is not a JSON object");
  EXPECT_EQ(client.Call(R"({"do":)").error, "the line is not JSON from byte 6");
}

TEST_F(Control, LeavesOutWhatWasWrittenBeforeTheOrderFailed) {
  const auto handler = [](const rapidjson::Value&, program::ControlWriter& answer) {
    answer.Key("half");
    throw std::invalid_argument("no");
  };

  EXPECT_EQ(program::ControlReply("{}", handler), R"({"ok":false,"error":"no"})");
}

TEST_F(Control, ServesSeveralConnectionsAtOnceAndSeveralLinesOnOne) {
  Plug silent;
  Plug talking;
  silent.Connect();
  talking.Connect();

  talking.Send("{\"do\":\"echo\"}\n{\"do\":\"ec");
  EXPECT_EQ(talking.Receive(), "{\"ok\":true,\"text\":\"nothing\"}\n");
  talking.Send("ho\",\"text\":\"2\"}\n");
  EXPECT_EQ(talking.Receive(), "{\"ok\":true,\"text\":\"2\"}\n");
}

TEST_F(Control, EndsAConnectionWhoseLineNeverEnds) {
  Plug plug;
  plug.Connect();

  plug.Send(std::string(program::kControlLineBytes + 1, ' '));

  EXPECT_THAT(plug.Receive(), HasSubstr("longer than 65536 bytes"));
  EXPECT_EQ(plug.Receive(), "");
}

TEST_F(Control, MakesRoomForANewConnectionWhenManyAreSilent) {
  std::array<Plug, program::kControlClients> silent;
  for (Plug& plug : silent) plug.Connect();

  EXPECT_TRUE(ControlClient(kPath).Call(R"({"do":"echo"})").ok);
  EXPECT_EQ(silent.front().Receive(), "");
}

TEST_F(Control, StopsAtOnceAndRemovesItsSocket) {
  Plug silent;
  silent.Connect();

  server.Stop();

  EXPECT_EQ(silent.Receive(), "");
  EXPECT_FALSE(std::filesystem::exists(kPath));
  EXPECT_THAT(ControlClient(kPath).Call("{}").error, StartsWith("nobody listens on"));
}

TEST_F(Control, RefusesToListenWhereAnotherServerDoes) {
  EXPECT_THROW(ControlServer(kPath, Echo), std::system_error);
  EXPECT_TRUE(ControlClient(kPath).Call(R"({"do":"echo"})").ok);
}

TEST(ControlSocket, ReplacesTheFileOfAServerThatIsGone) {
  Plug().Bind();

  const ControlServer server(kPath, Echo);

  EXPECT_TRUE(ControlClient(kPath).Call(R"({"do":"echo"})").ok);
}

TEST(ControlSocket, LeavesAFileAloneThatIsNoSocket) {
  const std::string path = "/tmp/control.txt";
  std::ofstream(path) << "mine";

  EXPECT_THROW(ControlServer(path, Echo), std::system_error);

  EXPECT_EQ(std::filesystem::file_size(path), 4U);
  std::filesystem::remove(path);
}

TEST(ControlSocket, EndsACallWhenItsTimeIsUp) {
  Plug deaf;
  deaf.Bind();
  deaf.Listen();

  EXPECT_THAT(ControlClient(kPath).Call("{}", 20ms).error, StartsWith("no answer came from"));

  std::filesystem::remove(kPath);
}

}  // namespace
