#include "system/support/hostileserver.h"

namespace test {
namespace {

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
