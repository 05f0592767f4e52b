#include "cloud/request.h"

#include <strings.h>

#include <algorithm>
#include <charconv>

namespace cloud {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeadEnd = "\r\n\r\n";

std::string Trimmed(std::string_view text) {
  constexpr char kBlanks[] = " \t";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

void ReadRequestLine(std::string_view line, Request* request) {
  const std::size_t first = line.find(' ');
  const std::size_t last = line.rfind(' ');
  if (first == std::string_view::npos || first == last) return;
  request->method = line.substr(0, first);
  request->target = line.substr(first + 1, last - first - 1);
  request->version = line.substr(last + 1);
}

Header ReadHeader(std::string_view line) {
  const std::size_t colon = std::min(line.find(':'), line.size());
  return {std::string(line.substr(0, colon)),
          Trimmed(line.substr(std::min(colon + 1, line.size())))};
}

}  // namespace

std::vector<std::string> Request::Values(std::string_view name) const {
  std::vector<std::string> values;
  for (const Header& header : headers) {
    if (SameName(header.name, name)) values.push_back(header.value);
  }
  return values;
}

std::optional<std::size_t> Request::ContentLength() const {
  const std::vector<std::string> values = Values("Content-Length");
  if (values.size() != 1) return std::nullopt;
  const char* const end = values[0].data() + values[0].size();
  std::size_t length = 0;
  const auto [stop, error] = std::from_chars(values[0].data(), end, length);
  if (error != std::errc() || stop != end) return std::nullopt;
  return length;
}

std::size_t HeadLength(std::string_view received) {
  const std::size_t end = received.find(kHeadEnd);
  return end == std::string_view::npos ? 0 : end + kHeadEnd.size();
}

Request ReadHead(std::string_view head) {
  Request request;
  request.head = head;
  bool requestLine = true;
  for (std::size_t end = head.find(kLineEnd); end != std::string_view::npos && end > 0;
       end = head.find(kLineEnd)) {
    const std::string_view line = head.substr(0, end);
    if (requestLine) {
      ReadRequestLine(line, &request);
    } else {
      request.headers.push_back(ReadHeader(line));
    }
    requestLine = false;
    head.remove_prefix(end + kLineEnd.size());
  }
  return request;
}

}  // namespace cloud
