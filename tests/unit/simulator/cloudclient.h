// What a gateway sends to the cloud, and what it must never send: requests, archives, documents.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test {

// What it is for: one request, the gateway's own until a test changes it.
class CloudRequest {
 public:
  // A JSON request, and the upload of `archive` under `fileName`, to the full path `target`.
  static CloudRequest Json(std::string target, std::string body);
  static CloudRequest Upload(std::string target, const std::string& fileName,
                             const std::string& archive);

  CloudRequest& Method(std::string method);
  CloudRequest& Version(std::string version);
  CloudRequest& Body(std::string body);
  // Changes, leaves out, or adds a header line; Content-Length follows the body on its own until
  // it is given here.
  CloudRequest& With(const std::string& name, const std::string& value);
  CloudRequest& Without(const std::string& name);
  CloudRequest& Also(const std::string& name, const std::string& value);

  // Request line and headers with their empty line; all of the request.
  std::string Head() const;
  std::string Bytes() const { return Head() + m_body; }
  const std::string& Body() const { return m_body; }

 private:
  std::string m_method = "POST";
  std::string m_target;
  std::string m_version = "HTTP/1.1";
  std::vector<std::pair<std::string, std::string>> m_headers;  // name with its ":", value
  std::string m_body;
};

// What it is for: a hand-made multipart body, the gateway's own until a test changes it.
struct UploadForm {
  std::string boundary = "--WebKitFormBoundaryslLU7UmlAp48QHln";
  std::string disposition = "form-data;name=\"licence\";filename=\"S20240301100000.tar.gz\"";
  std::string type = "application/octet-stream";
  std::string content;

  static UploadForm Of(const std::string& fileName, const std::string& archive);
  // One part, without the closing line; the whole body.
  std::string Part() const;
  std::string Text() const;
};

using Members = std::vector<std::pair<std::string, std::string>>;  // name, content

// An archive with these members, compressed with gzip or not at all.
std::string TarGz(const Members& members);
std::string PlainTar(const Members& members);
// A gzip-compressed archive with one symbolic link.
std::string TarGzWithLink(const std::string& name);

// Sound documents.
std::string RealDocument();
std::string AlarmDocument();
std::string RecallDocument();
// Sound questions and a sound upload of recall data, for a cloud without a prefix.
CloudRequest AddressCheck();
CloudRequest RecallCheck(const std::string& serialNumber = "S1");
CloudRequest RecallUpload(const std::string& document = RecallDocument());
// A sound real-data upload for a cloud without a prefix; `stamp` has 14 digits.
CloudRequest RealUpload(const std::string& stamp = "20240301100000",
                        const std::string& document = RealDocument());

// `text` with the first `from` replaced, which must occur.
std::string Replaced(std::string text, std::string_view from, std::string_view to);

// What it is for: an answer as a client sees it.
struct CloudAnswer {
  std::string head;  // up to the empty line; empty when none came
  std::string body;

  std::string StatusLine() const { return head.substr(0, head.find("\r\n")); }
  bool operator==(const CloudAnswer&) const = default;
};

// What it is for: a client's connection to a port of a loopback address.
// Threads: one. Owns: the socket.
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
CloudAnswer Ask(int port, const CloudRequest& request, const char* address = "127.0.0.1");

// What it is for: a folder that goes with the test.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

}  // namespace test
