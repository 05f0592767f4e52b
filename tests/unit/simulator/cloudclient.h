// What a gateway sends to the cloud: sound documents, archives and requests, and a client for them.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/files.h"
#include "support/rawserver.h"
#include "util/file.h"

namespace test {

// A request with the gateway's headers, and its body.
inline std::string Post(const std::string& path, const std::string& accept, const std::string& type,
                        const std::string& body) {
  return "POST " + path +
         " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: Keep-Alive\r\nAccept: " + accept +
         "\r\nAccept-Encoding: gzip, deflate,sdch\r\nAccept-Language: zh-CN,zh;q=0.8\r\n" +
         "Content-Type:" + type + "boundary=--WebKitFormBoundaryslLU7UmlAp48QHln\r\n" +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

// Sound documents of the gateway S1.
inline std::string RealDocument() {
  return R"({"sn":"S1","data":[)"
         R"({"groupId":1,"eqpId":3,"timeMark":"2024-03-01 10:00:00","values":[)"
         R"({"pointId":"00AB","value":"12.500"},{"pointId":"1123","value":"-0.000"}]},)"
         R"({"groupId":12,"eqpId":255,"timeMark":"2024-03-01 10:00:00","values":[]}]})";
}

inline std::string AlarmDocument() {
  return R"({"sn":"S1","alarmDataType":0,"data":[)"
         R"({"groupId":12,"eqpId":3,"alarmTime":"2024-03-01 09:59:59","alarmType":"10201",)"
         R"~("alarmGrade":"000A","flag":1,"alarmDes":"柜门(阀值:30.000)","alarmValues":[)~"
         R"({"pointId":"0105","values":[{"timeMark":"2024-03-01 09:59:59","value":"1.000"}]}]}]})";
}

inline std::string RecallDocument() {
  return R"({"sn":"S1","id":7,"data":[)"
         R"({"groupId":1,"eqpId":3,"pointId":"1123","flag":1,"values":[)"
         R"({"timeMark":"2024-03-01 08:00:00","value":"12.500"},)"
         R"({"timeMark":"2024-03-01 08:01:00","value":"12.625"}]},)"
         R"({"groupId":300,"eqpId":3,"pointId":"00AB","flag":0,"values":[]}]})";
}

// `text` with the first `from` replaced, which must occur.
inline std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos) throw std::logic_error("nothing to replace in " + text);
  return text.replace(at, from.size(), to);
}

// The file `out` that a shell command makes in a folder where `name` holds `text`.
inline std::string Archive(const std::string& name, const std::string& text,
                           const std::string& command = "tar -czf out *") {
  const std::string folder = "/tmp/archive";
  Empty(folder);
  WriteFile(folder + "/" + name, text);
  if (std::system(("cd " + folder + " && " + command).c_str()) != 0) {
    throw std::runtime_error("cannot run " + command);
  }
  return ReadFile(folder + "/out");
}

inline std::string JsonRequest(const std::string& path, const std::string& body) {
  return Post(path, "application/json,text/javascript, */*; q=0.01",
              "application/json; charset=UTF-8;", body);
}

inline std::string Login(const std::string& body = R"({"sn":"S1","applyType":0})") {
  return JsonRequest("/eqpapi/EqpAuthorize", body);
}

inline std::string AddressCheck() {
  return JsonRequest("/eqpapi/EqpSkipAddress", "");
}

inline std::string RecallCheck(const std::string& serialNumber = "S1") {
  return JsonRequest("/eqpapi/EqpDataIfRecall", R"({"sn":")" + serialNumber + "\"}");
}

// A form with one file, and an upload of a form with the gateway's headers.
inline std::string Form(const std::string& fileName, const std::string& content) {
  return "----WebKitFormBoundaryslLU7UmlAp48QHln\r\nContent-Disposition:form-data;name=\"licence\";"
         "filename=\"" +
         fileName + "\"\r\nContent-Type:application/octet-stream\r\n\r\n" + content +
         "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n";
}

inline std::string Upload(const std::string& path, const std::string& form) {
  return Post(path, "*/*; q=0.01", "multipart/form-data;charset=UTF-8;", form);
}

// Sound uploads to a cloud without a prefix, unless the document is faulty.
inline std::string UploadOf(const std::string& path, const std::string& stem,
                            const std::string& text) {
  return Upload(path, Form(stem + ".tar.gz", Archive(stem + ".dat", text)));
}

inline std::string RealUpload(const std::string& stamp = "20240301100000",
                              const std::string& document = RealDocument()) {
  return UploadOf("/eqpapi/EqpUploadDataInfo", "S" + stamp, document);
}

inline std::string AlarmUpload() {
  return UploadOf("/eqpapi/EqpUploadAlarmDataInfo", "T20240301100000", AlarmDocument());
}

inline std::string RecallUpload(const std::string& document = RecallDocument()) {
  return UploadOf("/eqpapi/EqpDataRecall", "R20240301100000", document);
}

// An answer as a client sees it.
struct CloudAnswer {
  std::string head;  // up to the empty line; empty when none came
  std::string body;
  int lastError = 0;  // of the last receiving; 0 when the connection was ended in order

  std::string StatusLine() const { return head.substr(0, head.find("\r\n")); }
};

// Sends the bytes over a connection of their own, ends the sending side, and takes the answer.
inline CloudAnswer Ask(int port, const std::string& request,
                       const char* numericAddress = "127.0.0.1") {
  const util::Descriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  inet_pton(AF_INET, numericAddress, &address.sin_addr);
  if (connect(connection.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("cannot connect to the simulator");
  }

  Send(connection.Get(), request);  // the server may close early: its answer tells
  shutdown(connection.Get(), SHUT_WR);
  std::string text;
  std::array<char, 4096> some{};
  ssize_t got = 0;
  while ((got = recv(connection.Get(), some.data(), some.size(), 0)) > 0) {
    text.append(some.data(), static_cast<std::size_t>(got));
  }
  const int lastError = got < 0 ? errno : 0;
  const std::size_t end = text.find("\r\n\r\n");
  if (end == std::string::npos) return {text, "", lastError};
  return {text.substr(0, end), text.substr(end + 4), lastError};
}

}  // namespace test
