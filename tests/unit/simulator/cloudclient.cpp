#include "cloudclient.h"

#include <archive.h>
#include <archive_entry.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace test {

namespace {

constexpr char kLength[] = "Content-Length:";

struct ArchiveFreer {
  void operator()(archive* writer) const { archive_write_free(writer); }
};
struct EntryFreer {
  void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};
using Entry = std::unique_ptr<archive_entry, EntryFreer>;

// What it is for: writing an archive into memory.
class ArchiveWriter {
 public:
  explicit ArchiveWriter(bool compressed) : m_archive(archive_write_new()) {
    if (compressed) archive_write_add_filter_gzip(m_archive.get());
    archive_write_set_format_ustar(m_archive.get());
    archive_write_open_memory(m_archive.get(), m_bytes.data(), m_bytes.size(), &m_used);
  }

  void Add(const std::string& name, const std::string& content) {
    const Entry entry = MakeEntry(name, AE_IFREG);
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(content.size()));
    archive_write_header(m_archive.get(), entry.get());
    archive_write_data(m_archive.get(), content.data(), content.size());
  }
  void AddLink(const std::string& name) {
    const Entry entry = MakeEntry(name, AE_IFLNK);
    archive_entry_set_symlink(entry.get(), "elsewhere");
    archive_write_header(m_archive.get(), entry.get());
  }
  std::string Bytes() {
    archive_write_close(m_archive.get());
    return m_bytes.substr(0, m_used);
  }

 private:
  static Entry MakeEntry(const std::string& name, unsigned type) {
    constexpr int kMode = 0644;
    Entry entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), name.c_str());
    archive_entry_set_filetype(entry.get(), type);
    archive_entry_set_perm(entry.get(), kMode);
    return entry;
  }

  static constexpr std::size_t kRoomBytes = 1000000;
  std::string m_bytes = std::string(kRoomBytes, '\0');
  std::size_t m_used = 0;
  std::unique_ptr<archive, ArchiveFreer> m_archive;
};

std::string Archive(const Members& members, bool compressed) {
  ArchiveWriter writer(compressed);
  for (const auto& [name, content] : members) writer.Add(name, content);
  return writer.Bytes();
}

}  // namespace

CloudRequest CloudRequest::Json(std::string target, std::string body) {
  CloudRequest request;
  request.m_target = std::move(target);
  request.m_body = std::move(body);
  request.m_headers = {
      {"Host:", " 127.0.0.1"},
      {"Connection:", " Keep-Alive"},
      {"Accept:", " application/json,text/javascript, */*; q=0.01"},
      {"Accept-Encoding:", " gzip, deflate,sdch"},
      {"Accept-Language:", " zh-CN,zh;q=0.8"},
      {"Content-Type:",
       "application/json; charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln"},
      {kLength, ""},
  };
  return request;
}

CloudRequest CloudRequest::Upload(std::string target, const std::string& fileName,
                                  const std::string& archive) {
  CloudRequest request = Json(std::move(target), UploadForm::Of(fileName, archive).Text());
  request.With("Accept", " */*; q=0.01");
  request.With("Content-Type",
               "multipart/form-data;charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln");
  return request;
}

CloudRequest& CloudRequest::Method(std::string method) {
  m_method = std::move(method);
  return *this;
}

CloudRequest& CloudRequest::Version(std::string version) {
  m_version = std::move(version);
  return *this;
}

CloudRequest& CloudRequest::Body(std::string body) {
  m_body = std::move(body);
  return *this;
}

CloudRequest& CloudRequest::With(const std::string& name, const std::string& value) {
  for (auto& [header, text] : m_headers) {
    if (header == name + ":") text = value;
  }
  return *this;
}

CloudRequest& CloudRequest::Without(const std::string& name) {
  std::erase_if(m_headers, [&](const auto& header) { return header.first == name + ":"; });
  return *this;
}

CloudRequest& CloudRequest::Also(const std::string& name, const std::string& value) {
  m_headers.emplace_back(name + ":", value);
  return *this;
}

std::string CloudRequest::Head() const {
  std::string head = m_method + " " + m_target + " " + m_version + "\r\n";
  for (const auto& [name, value] : m_headers) {
    const bool lengthIsOpen = name == kLength && value.empty();
    head += name + (lengthIsOpen ? " " + std::to_string(m_body.size()) : value) + "\r\n";
  }
  return head + "\r\n";
}

UploadForm UploadForm::Of(const std::string& fileName, const std::string& archive) {
  UploadForm form;
  form.disposition = "form-data;name=\"licence\";filename=\"" + fileName + "\"";
  form.content = archive;
  return form;
}

std::string UploadForm::Part() const {
  return "--" + boundary + "\r\nContent-Disposition:" + disposition + "\r\nContent-Type:" + type +
         "\r\n\r\n" + content + "\r\n";
}

std::string UploadForm::Text() const {
  return Part() + "--" + boundary + "--\r\n";
}

std::string TarGz(const Members& members) {
  return Archive(members, true);
}

std::string PlainTar(const Members& members) {
  return Archive(members, false);
}

std::string TarGzWithLink(const std::string& name) {
  ArchiveWriter writer(true);
  writer.AddLink(name);
  return writer.Bytes();
}

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

CloudRequest AddressCheck() {
  return CloudRequest::Json("/eqpapi/EqpSkipAddress", "");
}

CloudRequest RecallCheck(const std::string& serialNumber) {
  return CloudRequest::Json("/eqpapi/EqpDataIfRecall", R"({"sn":")" + serialNumber + "\"}");
}

CloudRequest RecallUpload(const std::string& document) {
  return CloudRequest::Upload("/eqpapi/EqpDataRecall", "R20240301100000.tar.gz",
                              TarGz({{"R20240301100000.dat", document}}));
}

CloudRequest RealUpload(const std::string& stamp, const std::string& document) {
  const std::string stem = "S" + stamp;
  return CloudRequest::Upload("/eqpapi/EqpUploadDataInfo", stem + ".tar.gz",
                              TarGz({{stem + ".dat", document}}));
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos) throw std::logic_error("nothing to replace in " + text);
  return text.replace(at, from.size(), to);
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
    if (sent <= 0) return;  // a server may close early: what it answers is under test
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
  constexpr std::size_t kChunkBytes = 4096;
  std::array<char, kChunkBytes> chunk{};
  std::string text;
  ssize_t got = 0;
  while ((got = recv(m_socket, chunk.data(), chunk.size(), 0)) > 0) {
    text.append(chunk.data(), static_cast<std::size_t>(got));
  }
  const std::size_t end = text.find("\r\n\r\n");
  if (end == std::string::npos) return {text, ""};
  return {text.substr(0, end), text.substr(end + 4)};
}

CloudAnswer Ask(int port, const CloudRequest& request, const char* address) {
  const CloudClient client(port, address);
  client.Send(request.Bytes());
  return client.Receive();
}

TemporaryFolder::TemporaryFolder() : m_path("/tmp/cloud-test-XXXXXX") {
  if (mkdtemp(m_path.data()) == nullptr) throw std::runtime_error("cannot make " + m_path);
}

}  // namespace test
