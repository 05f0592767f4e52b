#include "http/http.h"

#include <curl/curl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>

#include "http/multipart.h"
#include "log/log.h"
#include "util/directory.h"
#include "util/file.h"
#include "util/text.h"

namespace {

constexpr std::uint32_t kDone = 0;
constexpr auto kFailed = static_cast<std::uint32_t>(-1);
constexpr long kMemoryTimeoutSeconds = 30;
constexpr long kFileTimeoutSeconds = 90;
constexpr off_t kFileLimitBytes = 40960;  // files of this size and more are not sent
// libcurl keeps every header and every trailer of a transfer, at ten times its length and more.
constexpr std::size_t kMostHeaderBytes = 64U << 10;

// The boundary in a JSON content type is deliberate: the same as that of the file uploads.
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

// libcurl's header callback: the lines of every head, and the trailers behind a chunked body.
// Another number than the line's bytes ends the transfer.
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

  void SetBody(const char* body, std::size_t length) {
    Set(CURLOPT_POSTFIELDS, body);
    Set(CURLOPT_POSTFIELDSIZE, static_cast<long>(length));
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

std::uint32_t PostMemory(const ST_FRAME_MEMORY_UPLOAD& frame, void* answerData) {
  Request request(frame.url);
  if (!request) return kFailed;
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
  request.SetBody(frame.body, frame.bodyLength);

  const Outcome outcome = request.Perform();
  if (outcome.Succeeded()) return kDone;
  log_Text(WARN, "curl_easy_perform() failed when post: %s,httpcode =%ld",
           curl_easy_strerror(outcome.code), outcome.httpStatus);
  return kFailed;
}

std::uint32_t SendBody(const ST_FRAME_FILE_UPLOAD& frame, void* answerData,
                       const MultipartBody& body) {
  Request request(frame.url);
  if (!request) return kFailed;
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
  request.SetCallbacks(frame.answerCallback, answerData, frame.readCallback);
  request.SetBody(body.Data(), body.Length());

  const Outcome outcome = request.Perform();
  if (outcome.Succeeded()) {
    log_Text(INFO, "Send file %s finish", frame.filePath);
    return kDone;
  }
  log_Text(WARN, "send file %s failed: %s,httpcode =%ld", frame.filePath,
           curl_easy_strerror(outcome.code), outcome.httpStatus);
  return kFailed;
}

// The size of a file that is worth sending; nothing, with a WARN line, for one that is judged sent.
std::optional<std::size_t> SizeToSend(const char* path) {
  if (access(path, F_OK) != 0) {
    log_Text(WARN, "Can not find File %s when send files,judge it send OK", path);
    return std::nullopt;
  }
  // 0 also stands for a file that cannot be examined.
  const off_t size = util::FileSize(path);
  if (size == 0 || size >= kFileLimitBytes) {
    log_Text(WARN, "file %s size is 0 ,error,do not send it,judge it send OK", path);
    if (size != 0) {  // the line above is not true of it
      log_Text(WARN, "file %s has %lld bytes,the largest that is sent has %lld", path,
               static_cast<long long>(size), static_cast<long long>(kFileLimitBytes) - 1);
    }
    return std::nullopt;
  }
  return static_cast<std::size_t>(size);
}

}  // namespace

CHttp::CHttp() {
  curl_global_init(CURL_GLOBAL_ALL);
}

CHttp::~CHttp() {
  curl_global_cleanup();
}

std::uint32_t CHttp::POST_MemoryData(ST_FRAME_MEMORY_UPLOAD* frame) {
  return PostMemory(*frame, &frame->successFlag);
}

std::uint32_t CHttp::POST_MemoryData_WithExtraArgs(ST_FRAME_MEMORY_UPLOAD* frame) {
  return PostMemory(*frame, frame->callbackData);
}

std::uint32_t CHttp::UploadFile(ST_FRAME_FILE_UPLOAD* frame) {
  const auto size = SizeToSend(frame->filePath);
  if (!size) {
    frame->successFlag = 1;
    return kDone;
  }
  MultipartBody body(*size);
  if (!body) {
    log_Text(WARN, "calloc size %d buff error", static_cast<int>(body.Capacity()));
    return kFailed;
  }
  if (!body.Build(frame->filePath)) return kFailed;
  return SendBody(*frame, &frame->successFlag, body);
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
