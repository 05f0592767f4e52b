// What a gateway sends to the cloud: sound documents, archives and requests, and a client for them.
#pragma once

#include <string>
#include <string_view>

namespace test {

// Sound documents of the gateway S1.
std::string RealDocument();
std::string AlarmDocument();
std::string RecallDocument();

// `text` with the first `from` replaced, which must occur.
std::string Replaced(std::string text, std::string_view from, std::string_view to);

// The file `out` that a shell command makes in a folder where `name` holds `text`.
std::string Archive(const std::string& name, const std::string& text,
                    const std::string& command = "tar -czf out *");

// A request with the gateway's headers, and its body.
std::string JsonRequest(const std::string& path, const std::string& body);
std::string Login(const std::string& body = R"({"sn":"S1","applyType":0})");
std::string AddressCheck();
std::string RecallCheck(const std::string& serialNumber = "S1");

// An upload with the gateway's headers; its form carries one file.
std::string Form(const std::string& fileName, const std::string& content);
std::string Upload(const std::string& path, const std::string& form);
// Sound uploads to a cloud without a prefix, unless the document is faulty.
std::string RealUpload(const std::string& stamp = "20240301100000",
                       const std::string& document = RealDocument());
std::string AlarmUpload();
std::string RecallUpload(const std::string& document = RecallDocument());

// An answer as a client sees it.
struct CloudAnswer {
  std::string head;  // up to the empty line; empty when none came
  std::string body;

  std::string StatusLine() const { return head.substr(0, head.find("\r\n")); }
};

// A client's connection to a port of a loopback address.
class CloudClient {
 public:
  explicit CloudClient(int port, const char* address = "127.0.0.1");
  ~CloudClient();
  CloudClient(const CloudClient&) = delete;
  CloudClient& operator=(const CloudClient&) = delete;

  void Send(std::string_view bytes) const;
  void EndSending() const;
  // What comes first, waited for.
  std::string ReceiveSome() const;
  // Everything up to the server's end of the connection.
  CloudAnswer Receive() const;

 private:
  int m_socket;
};

// One whole exchange over a connection of its own.
CloudAnswer Ask(int port, const std::string& request, const char* address = "127.0.0.1");

}  // namespace test
