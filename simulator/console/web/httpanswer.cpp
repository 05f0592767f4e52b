#include "console/web/httpanswer.h"

#include <algorithm>
#include <utility>

namespace console {

namespace {
constexpr std::size_t kPieceBytes = 16384;
}

RequestHead HeadOf(const httplib::Request& request) {
  RequestHead head{
      .method = request.method,
      .target = request.target,
      .host = request.get_header_value_count("Host") == 1 ? request.get_header_value("Host") : "",
      .contentType = request.get_header_value("Content-Type")};
  if (request.has_header("Origin")) head.origin = request.get_header_value("Origin");
  return head;
}

// Hands over a text as it is. The library would compress one that it gets as a whole, which takes
// it long.
void SetContent(httplib::Response& response, std::string content, const std::string& type) {
  if (content.empty()) return response.set_content(content, type);
  const std::size_t size = content.size();
  response.set_content_provider(
      size, type,
      [text = std::move(content)](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
        if (offset >= text.size()) return false;
        return sink.write(text.data() + offset,
                          std::min({length, text.size() - offset, kPieceBytes}));
      });
}

void Send(Reply reply, httplib::Response& response) {
  response.status = reply.status;
  if (!reply.downloadName.empty()) {
    response.set_header("Content-Disposition",
                        "attachment; filename=\"" + reply.downloadName + "\"");
  }
  SetContent(response, std::move(reply.body), reply.type);
}

}  // namespace console
