#include "console/web/requests.h"

#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "console/web/dispatch.h"
#include "console/web/eventwriter.h"
#include "console/web/guard.h"
#include "console/web/httpanswer.h"
#include "console/web/httpstatus.h"

namespace console {

namespace {

using std::chrono::steady_clock;

constexpr auto kLongestBodyTime = std::chrono::seconds(10);
constexpr std::size_t kMostStreams = 96;  // the other threads stay free for calls

}  // namespace

bool Requests::Answer(const httplib::Request& request, httplib::Response& response) {
  if (request.has_header("Range")) {
    // The library does not hold the range against the length of what it sends.
    response.status = kNoRanges;
    response.set_content(ErrorReply(kNoRanges, "only whole files are sent").body,
                         "application/json");
  } else if (std::optional<Reply> refusal = Refuse(HeadOf(request))) {
    Send(std::move(*refusal), response);
  } else if (request.method != "POST") {
    AnswerGet(request, response);
  } else if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
    Send(ErrorReply(kNoLength, "a POST needs a body"), response);
  } else {
    return false;
  }
  return true;
}

void Requests::AnswerGet(const httplib::Request& request, httplib::Response& response) {
  if (request.path == "/api/events") return OpenStream(response);
  const bool isCall = m_router.Gets().contains(request.path) || request.path.starts_with("/api/");
  if (std::optional<StaticFile> file = isCall ? std::nullopt : m_files.Find(request.path)) {
    response.status = kOk;
    response.headers.erase("Cache-Control");  // there is one already, and the library adds
    response.set_header("Cache-Control", "no-cache");
    return SetContent(response, std::move(file->content), file->type);
  }
  std::map<std::string, std::string> query(request.params.begin(), request.params.end());
  Send(console::AnswerGet(m_router, request.path, std::move(query)), response);
}

void Requests::AnswerPost(const httplib::Request& request, httplib::Response& response,
                          const httplib::ContentReader& read) {
  std::string body;
  const auto deadline = steady_clock::now() + kLongestBodyTime;
  const bool isWhole = read([&](const char* data, std::size_t size) {
    body.append(data, size);
    return body.size() <= kLargestBodyBytes && steady_clock::now() < deadline;
  });
  if (!isWhole && body.size() <= kLargestBodyBytes && response.status != kTooLarge) {
    return Send(ErrorReply(kNoBodyInTime, "the body did not come as a whole"), response);
  }
  if (!isWhole) return Send(ErrorReply(kTooLarge, "the body has more than 64 KiB"), response);
  Reply reply = console::AnswerPost(m_router, request.path, body);
  const bool isGood = IsGood(reply.status);
  Send(std::move(reply), response);
  if (isGood && accepted) accepted(request.path, body);
}

void Requests::OpenStream(httplib::Response& response) {
  if (m_events.Streams() >= kMostStreams) {
    return Send(ErrorReply(kUnavailable, "too many pages are open"), response);
  }
  response.status = kOk;
  response.set_chunked_content_provider(
      "text/event-stream",
      [writer = std::make_shared<EventWriter>(m_events, m_heartbeat)](
          std::size_t, httplib::DataSink& sink) { return writer->Write(sink); });
}

}  // namespace console
