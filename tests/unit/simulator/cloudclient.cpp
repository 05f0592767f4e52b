#include "cloudclient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include "support/files.h"

namespace test {

namespace {

std::string Post(const std::string& path, const std::string& accept, const std::string& type,
                 const std::string& body) {
  return "POST " + path +
         " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: Keep-Alive\r\nAccept: " + accept +
         "\r\nAccept-Encoding: gzip, deflate,sdch\r\nAccept-Language: zh-CN,zh;q=0.8\r\n" +
         "Content-Type:" + type + "boundary=--WebKitFormBoundaryslLU7UmlAp48QHln\r\n" +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string UploadOf(const std::string& path, const std::string& stem, const std::string& text) {
  return Upload(path, Form(stem + ".tar.gz", Archive(stem + ".dat", text)));
}

}  // namespace

std::string RealDocument() {
  return R"({"sn":"S1","data":[)"
         R"({"groupId":1,"eqpId":3,"timeMark":"2024-03-01 10:00:00","values":[)"
         R"({"pointId":"00AB","value":"12.500"},{"pointId":"1123","value":"-0.000"}]},)"
         R"({"groupId":12,"eqpId":255,"timeMark":"2024-03-01 10:00:00","values":[]}]})";
}

std::string AlarmDocument() {
  return R"({"sn":"S1","alarmDataType":0,"data":[)"
         R"({"groupId":12,"eqpId":3,"alarmTime":"2024-03-01 09:59:59","alarmType":"10201",)"
         R"~("alarmGrade":"000A","flag":1,"alarmDes":"柜门(阀值:30.000)","alarmValues":[)~"
         R"({"pointId":"0105","values":[{"timeMark":"2024-03-01 09:59:59","value":"1.000"}]}]}]})";
}

std::string RecallDocument() {
  return R"({"sn":"S1","id":7,"data":[)"
         R"({"groupId":1,"eqpId":3,"pointId":"1123","flag":1,"values":[)"
         R"({"timeMark":"2024-03-01 08:00:00","value":"12.500"},)"
         R"({"timeMark":"2024-03-01 08:01:00","value":"12.625"}]},)"
         R"({"groupId":300,"eqpId":3,"pointId":"00AB","flag":0,"values":[]}]})";
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos) throw std::logic_error("nothing to replace in " + text);
  return text.replace(at, from.size(), to);
}

std::string Archive(const std::string& name, const std::string& text, const std::string& command) {
  const std::string folder = "/tmp/archive";
  Empty(folder);
  WriteFile(folder + "/" + name, text);
  if (std::system(("cd " + folder + " && " + command).c_str()) != 0) {
    throw std::runtime_error("cannot run " + command);
  }
  return ReadFile(folder + "/out");
}

std::string JsonRequest(const std::string& path, const std::string& body) {
  return Post(path, "application/json,text/javascript, */*; q=0.01",
              "application/json; charset=UTF-8;", body);
}

std::string Login(const std::string& body) {
  return JsonRequest("/eqpapi/EqpAuthorize", body);
}

std::string AddressCheck() {
  return JsonRequest("/eqpapi/EqpSkipAddress", "");
}

std::string RecallCheck(const std::string& serialNumber) {
  return JsonRequest("/eqpapi/EqpDataIfRecall", R"({"sn":")" + serialNumber + "\"}");
}

std::string Form(const std::string& fileName, const std::string& content) {
  return "----WebKitFormBoundaryslLU7UmlAp48QHln\r\nContent-Disposition:form-data;name=\"licence\";"
         "filename=\"" +
         fileName + "\"\r\nContent-Type:application/octet-stream\r\n\r\n" + content +
         "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n";
}

std::string Upload(const std::string& path, const std::string& form) {
  return Post(path, "*/*; q=0.01", "multipart/form-data;charset=UTF-8;", form);
}

std::string RealUpload(const std::string& stamp, const std::string& document) {
  return UploadOf("/eqpapi/EqpUploadDataInfo", "S" + stamp, document);
}

std::string AlarmUpload() {
  return UploadOf("/eqpapi/EqpUploadAlarmDataInfo", "T20240301100000", AlarmDocument());
}

std::string RecallUpload(const std::string& document) {
  return UploadOf("/eqpapi/EqpDataRecall", "R20240301100000", document);
}

CloudClient::CloudClient(int port, const char* numericAddress)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  inet_pton(AF_INET, numericAddress, &address.sin_addr);
  if (connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    close(m_socket);
    throw std::runtime_error("cannot connect to the simulator");
  }
}

CloudClient::~CloudClient() {
  close(m_socket);
}

void CloudClient::Send(std::string_view bytes) const {
  while (!bytes.empty()) {
    const ssize_t sent = send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;  // a server may close early: the test looks at its answer
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void CloudClient::EndSending() const {
  shutdown(m_socket, SHUT_WR);
}

std::string CloudClient::ReceiveSome() const {
  constexpr std::size_t kRoomBytes = 4096;
  std::string bytes(kRoomBytes, '\0');
  const ssize_t got = recv(m_socket, bytes.data(), bytes.size(), 0);
  bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return bytes;
}

CloudAnswer CloudClient::Receive() const {
  std::string text;
  for (std::string some = ReceiveSome(); !some.empty(); some = ReceiveSome()) text += some;
  const std::size_t end = text.find("\r\n\r\n");
  if (end == std::string::npos) return {text, ""};
  return {text.substr(0, end), text.substr(end + 4)};
}

CloudAnswer Ask(int port, const std::string& request, const char* address) {
  const CloudClient client(port, address);
  client.Send(request);
  return client.Receive();
}

}  // namespace test
