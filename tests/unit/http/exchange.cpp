#include "exchange.h"

#include <ostream>

#include "curltap.h"
#include "util/text.h"

namespace test {

Received& Answer() {
  static thread_local Received received;
  return received;
}

std::size_t TakeAnswer(char* data, std::size_t size, std::size_t count, void* userdata) {
  Answer().bytes.append(data, size * count);
  Answer().parts.push_back(size * count);
  Answer().userdata = userdata;
  return size * count;
}

std::size_t RejectAnswer(char* data, std::size_t size, std::size_t count, void* userdata) {
  TakeAnswer(data, size, count, userdata);
  return 0;
}

std::size_t ReadNothing(char* /*buffer*/, std::size_t /*size*/, std::size_t /*count*/,
                        void* /*userdata*/) {
  return 0;
}

ST_FRAME_MEMORY_UPLOAD MemoryFrame(const std::string& url, std::string_view body) {
  ST_FRAME_MEMORY_UPLOAD frame{};
  util::CopyText(frame.url, url);
  util::CopyText(frame.fileType, "json");
  util::CopyText(frame.method, "POST");
  body.copy(frame.body, sizeof(frame.body));
  frame.bodyLength = static_cast<std::uint16_t>(body.size());
  frame.answerCallback = TakeAnswer;
  return frame;
}

ST_FRAME_FILE_UPLOAD FileFrame(const std::string& url, const std::string& path) {
  ST_FRAME_FILE_UPLOAD frame{};
  util::CopyText(frame.url, url);
  util::CopyText(frame.fileType, "json");
  util::CopyText(frame.method, "POST");
  util::CopyText(frame.filePath, path);
  frame.answerCallback = TakeAnswer;
  return frame;
}

std::uint16_t ClosedPort() {
  return RawServer().Port();
}

void HttpTest::SetUp() {
  GatewayTest::SetUp();
  GetCHttpInstance();
  ForgetOptions();
  Answer() = {};
}

void PrintTo(const PostVariant& variant, std::ostream* out) {
  *out << variant.name;
}

std::vector<Trouble> Troubles() {
  static constexpr char kNothing[] = "Server returned nothing (no headers, no data)";
  static constexpr char kNoHttp[] = "Unsupported protocol";
  return {
      {"ClosedWithoutAWord", {}, kNothing, 0},
      {"Garbage", {"\x01\x02garbage instead of HTTP\r\n\r\n{\"status\":0}"}, kNoHttp, 0},
      {"BareJson", {"{\"status\":0,\"message\":\"ok\"}"}, kNoHttp, 0},
      {"EmptyStatus", {HttpAnswer(500, "")}, "No error", 500},
      {"TornBody",
       {"HTTP/1.1 500 Error\r\nContent-Length: 100\r\n\r\n{\"status\":0"},
       "Transferred a partial file",
       500},
  };
}

void PrintTo(const Trouble& trouble, std::ostream* out) {
  *out << trouble.name;
}

std::vector<StatusVerdict> StatusVerdicts() {
  return {{200, kDone},   {201, kDone},   {202, kFailed}, {204, kFailed},
          {299, kFailed}, {300, kFailed}, {301, kFailed}, {302, kFailed},
          {304, kFailed}, {307, kFailed}, {400, kFailed}, {401, kFailed},
          {404, kFailed}, {500, kFailed}, {503, kFailed}, {999, kFailed}};
}

void PrintTo(const StatusVerdict& verdict, std::ostream* out) {
  *out << "HTTP status " << verdict.status;
}

}  // namespace test
