#include "system/support/hostileserver.h"

#include <sys/socket.h>

#include <chrono>
#include <thread>

#include "system/support/serviceprocess.h"
#include "util/text.h"

namespace test {
namespace {

constexpr std::chrono::milliseconds kApart{20};
constexpr std::chrono::milliseconds kSecondOfSilence{3};  // real time for a second of the service
constexpr std::size_t kBlockBytes = 65536;

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
  return text;
}

std::string Filled(std::string text, const std::string& good) {
  text = Replaced(std::move(text), "~", util::Format("%zx", good.size()));
  return Replaced(std::move(text), "@", good);
}

constexpr char kUpload[] = "/eqpapi/EqpUploadDataInfo";
constexpr char kAccepted[] = R"({"status":0,"message":"ok"})";

// The body of the sound answer of each exchange.
constexpr std::pair<const char*, const char*> kSound[] = {
    {"/eqpapi/EqpAuthorize", R"({"status":0,"message":"ok","data":[{"seqStatus":0}]})"},
    {"/eqpapi/EqpSkipAddress",
     R"({"status":0,"message":"ok","data":[{"realIpAddress":"localhost:1"}]})"},
    {"/eqpapi/EqpDataIfRecall",
     R"({"status":0,"message":"ok","data":[{"sn":"TS20240117","id":7,"devs":[{"groupId":"1",)"
     R"("eqpId":"3","ids":[{"pointId":"0001","beginTime":"2024-03-07 10:00:00",)"
     R"("endTime":"2024-03-07 10:30:00"}]}]}]})"},
    {kUpload, kAccepted},
    {"/eqpapi/EqpUploadAlarmDataInfo", kAccepted},
    {"/eqpapi/EqpDataRecall", kAccepted},
};

}  // namespace

Misdeed Says(const std::string& bytes) {
  return [=](int connection, const std::string& good) { Send(connection, Filled(bytes, good)); };
}

Misdeed Answers(const std::string& body) {
  return
      [=](int connection, const std::string& /*good*/) { Send(connection, HttpAnswer(200, body)); };
}

Misdeed Floods(const std::string& head, const std::string& part, std::size_t bytes) {
  return [=](int connection, const std::string& /*good*/) {
    std::string block;
    while (block.size() < kBlockBytes) block += part;
    if (!Send(connection, head)) return;
    for (std::size_t sent = 0; sent < bytes; sent += block.size()) {
      if (!Send(connection, block)) return;
    }
  };
}

Misdeed Resets(const std::string& bytes) {
  return [=](int connection, const std::string& /*good*/) {
    Send(connection, bytes);
    std::this_thread::sleep_for(kApart);
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    setsockopt(connection, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
  };
}

Misdeed Stalls(const std::string& atOnce, const std::string& slowly) {
  return [=](int connection, const std::string& /*good*/) {
    Send(connection, atOnce);
    ServiceProcess::FallSilent();
    char end = 0;
    for (std::size_t second = 0; recv(connection, &end, 1, MSG_DONTWAIT) != 0; ++second) {
      if (second < slowly.size()) Send(connection, slowly.substr(second, 1));
      std::this_thread::sleep_for(kSecondOfSilence);
    }
    ServiceProcess::SpeakAgain();
  };
}

HostileServer::HostileServer(Misdeed misdeed) : m_misdeed(std::move(misdeed)) {
  for (const auto& [path, good] : kSound) {
    m_server.HandleApart(path, [this, path, good](const RawRequest& request, int connection) {
      Serve(path, good, request, connection);
    });
  }
}

std::size_t HostileServer::Met() const {
  const std::lock_guard lock(m_mutex);
  return m_counts.size();
}

bool HostileServer::IsFollowed() const {
  const std::lock_guard lock(m_mutex);
  return m_latestUpload.find("\r\nHost: localhost:") != std::string::npos;
}

void HostileServer::Serve(const std::string& path, const std::string& good,
                          const RawRequest& request, int connection) {
  bool first = false;
  {
    const std::lock_guard lock(m_mutex);
    first = ++m_counts[path] == 1;
    if (path == kUpload) m_latestUpload = request.head;
  }
  first ? m_misdeed(connection, good) : void(Send(connection, HttpAnswer(200, good)));
}

}  // namespace test
