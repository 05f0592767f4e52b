#include "http/http.h"

#include <curl/curl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "http/multipart.h"
#include "log/log.h"
#include "util/directory.h"
#include "util/file.h"
#include "util/text.h"

namespace {

constexpr long kMemoryTimeoutSeconds = 30;
constexpr long kFileTimeoutSeconds = 90;
// libcurl keeps every header and trailer of a transfer in ten times its length and more.
constexpr std::size_t kMostHeaderBytes = 64U << 10;

// The JSON content type carries the boundary of the file uploads, deliberately.
constexpr char kJsonContentType[] =
    "Content-Type:application/json; charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln";
constexpr char kFileContentType[] =
    "Content-Type:multipart/form-data;charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln";

struct HandleCleaner {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct HeaderListFreer {
  void operator()(curl_slist* headers) const { curl_slist_free_all(headers); }
};

struct Outcome {
  CURLcode code;
  long httpStatus;  // 0 when no answer came

  bool Succeeded() const { return httpStatus == 200 || httpStatus == 201; }
};

// libcurl's header callback, called for the lines of every head and for the trailers after a
// chunked body. Another number than the line's bytes ends the transfer.
std::size_t CountHeaderLine(char* /*line*/, std::size_t size, std::size_t count,
                            void* headerBytes) noexcept {
  auto* soFar = static_cast<std::size_t*>(headerBytes);
  *soFar += size * count;
  if (*soFar <= kMostHeaderBytes) return size * count;
  log_Text(WARN, "answer with more than %zu bytes of headers broken off", kMostHeaderBytes);
  return 0;
}

// One POST: an easy handle with its header list.
class Request {
 public:
  explicit Request(const char* url) : m_handle(curl_easy_init()) {
    if (!m_handle) return;
    Set(CURLOPT_URL, url);
    Set(CURLOPT_SSL_VERIFYPEER, 0L);
    Set(CURLOPT_SSL_VERIFYHOST, 0L);
  }
  explicit operator bool() const { return m_handle != nullptr; }

  template <typename T>
  void Set(CURLoption option, T value) {
    curl_easy_setopt(m_handle.get(), option, value);
  }

  // Without memory for the list the request goes out with libcurl's own headers.
  void SetHeaders(std::initializer_list<const char*> lines) {
    for (const char* line : lines) {
      curl_slist* longer = curl_slist_append(m_headers.get(), line);
      if (longer == nullptr) return;
      static_cast<void>(m_headers.release());  // the appended list begins with the old one
      m_headers.reset(longer);
    }
    Set(CURLOPT_HTTPHEADER, m_headers.get());
  }

  void SetCallbacks(AnswerCallback answer, void* answerData, ReadCallback read) {
    if (answer != nullptr) {
      Set(CURLOPT_WRITEFUNCTION, answer);
      Set(CURLOPT_WRITEDATA, answerData);
    }
    if (read != nullptr) Set(CURLOPT_READFUNCTION, read);
  }

  void SetBody(std::string_view body) {
    Set(CURLOPT_POSTFIELDS, body.data());
    Set(CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  }

  Outcome Perform() {
    Set(CURLOPT_HEADERFUNCTION, CountHeaderLine);
    Set(CURLOPT_HEADERDATA, &m_headerBytes);
    Outcome outcome{.code = curl_easy_perform(m_handle.get()), .httpStatus = 0};
    curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &outcome.httpStatus);
    return outcome;
  }

 private:
  std::unique_ptr<curl_slist, HeaderListFreer> m_headers;  // outlives the handle that uses it
  std::unique_ptr<CURL, HandleCleaner> m_handle;
  std::size_t m_headerBytes = 0;  // received so far
};

// True when the server answered with status 200 or 201.
bool PostMemory(const ST_FRAME_MEMORY_UPLOAD& frame, void* answerData) {
  Request request(frame.url);
  if (!request) return false;
  request.SetHeaders({
      "Connection: Keep-Alive",
      "Accept: application/json,text/javascript, */*; q=0.01",
      "Accept-Encoding: gzip, deflate,sdch",
      "Accept-Language: zh-CN,zh;q=0.8",
      kJsonContentType,
  });
  request.Set(CURLOPT_TIMEOUT, kMemoryTimeoutSeconds);
  request.Set(CURLOPT_NOSIGNAL, 1L);
  request.SetCallbacks(frame.answerCallback, answerData, frame.readCallback);
  request.SetBody({frame.body, frame.bodyLength});

  const Outcome outcome = request.Perform();
  if (outcome.Succeeded()) return true;
  log_Text(WARN, "curl_easy_perform() failed when post: %s,httpcode =%ld",
           curl_easy_strerror(outcome.code), outcome.httpStatus);
  return false;
}

bool SendBody(ST_FRAME_FILE_UPLOAD& frame, std::string_view body) {
  Request request(frame.url);
  if (!request) return false;
  const std::string name(util::BaseName(frame.filePath));
  log_Text(INFO, "start Send file %s to %s", name.c_str(), frame.url);
  request.SetHeaders({
      "Connection: Keep-Alive",
      "Accept: */*; q=0.01",
      "Accept-Encoding: gzip, deflate,sdch",
      "Accept-Language: zh-CN,zh;q=0.8",
      kFileContentType,
  });
  request.Set(CURLOPT_TIMEOUT, kFileTimeoutSeconds);
  request.Set(CURLOPT_NOSIGNAL, 1L);
  request.Set(CURLOPT_POST, 1L);
  request.SetCallbacks(frame.answerCallback, &frame.successFlag, frame.readCallback);
  request.SetBody(body);

  const Outcome outcome = request.Perform();
  if (outcome.Succeeded()) {
    log_Text(INFO, "Send file %s finish", frame.filePath);
    return true;
  }
  log_Text(WARN, "send file %s failed: %s,httpcode =%ld", frame.filePath,
           curl_easy_strerror(outcome.code), outcome.httpStatus);
  return false;
}

// The size of a file that is worth sending; nothing, with a WARN line, when it is judged sent.
std::optional<std::size_t> SizeToSend(const std::string& path) {
  if (access(path.c_str(), F_OK) != 0) {
    log_Text(WARN, "Can not find File %s when send files,judge it send OK", path.c_str());
    return std::nullopt;
  }
  const off_t size = util::FileSize(path.c_str());  // 0 also when it cannot be examined
  if (size == 0 || size >= kFileLimitBytes) {
    log_Text(WARN, "file %s size is 0 ,error,do not send it,judge it send OK", path.c_str());
    if (size != 0) {  // the line above gives a wrong reason
      log_Text(WARN, "file %s has %lld bytes,the largest that is sent has %lld", path.c_str(),
               static_cast<long long>(size), static_cast<long long>(kFileLimitBytes) - 1);
    }
    return std::nullopt;
  }
  return static_cast<std::size_t>(size);
}

// True when the server took the file, or when the file is judged sent.
bool SendFile(ST_FRAME_FILE_UPLOAD& frame) {
  const auto size = SizeToSend(frame.filePath);
  if (!size) {
    frame.successFlag = 1;
    return true;
  }
  MultipartBody body(*size);
  if (!body) {
    log_Text(WARN, "calloc size %d buff error", static_cast<int>(body.Capacity()));
    return false;
  }
  return body.Build(frame.filePath) && SendBody(frame, body.Text());
}

std::uint32_t Result(bool succeeded) {
  return succeeded ? 0 : static_cast<std::uint32_t>(-1);
}

}  // namespace

CHttp::CHttp() {
  curl_global_init(CURL_GLOBAL_ALL);
}

CHttp::~CHttp() {
  curl_global_cleanup();
}

std::uint32_t CHttp::POST_MemoryData(ST_FRAME_MEMORY_UPLOAD* frame) {
  return Result(PostMemory(*frame, &frame->successFlag));
}

std::uint32_t CHttp::POST_MemoryData_WithExtraArgs(ST_FRAME_MEMORY_UPLOAD* frame) {
  return Result(PostMemory(*frame, frame->callbackData));
}

std::uint32_t CHttp::UploadFile(ST_FRAME_FILE_UPLOAD* frame) {
  return Result(SendFile(*frame));
}

std::int32_t CHttp::ReadJsonDataFile(const char* path, char* buf, int max) {
  if (path == nullptr) return -1;
  const util::File file(std::fopen(path, "r+"));
  if (!file) {
    log_Text(WARN, "Can not open file %s", path);
    return -1;
  }
  const int wanted = std::max(std::min(get_file_size(path), max), 0);
  return static_cast<std::int32_t>(
      std::fread(buf, 1, static_cast<std::size_t>(wanted), file.get()));
}

std::int32_t CHttp::get_file_size(const char* path) {
  return static_cast<std::int32_t>(util::FileSize(path));
}

CHttp& GetCHttpInstance() {
  static CHttp instance;
  return instance;
}
