#include "cloud/request.h"

#include <strings.h>

#include <algorithm>
#include <charconv>

namespace cloud {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kHeadEnd = "\r\n\r\n";
constexpr std::string_view kFormOpening = "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n";
constexpr std::string_view kFormClosing = "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n";
constexpr std::string_view kNextPart = "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln";

std::string_view Trimmed(std::string_view text) {
  constexpr char kBlanks[] = " \t";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// Takes what stands before `separator`, and the separator, off the front of `text`.
std::string_view TakeUntil(std::string_view separator, std::string_view* text) {
  const std::string_view front = text->substr(0, text->find(separator));
  text->remove_prefix(std::min(front.size() + separator.size(), text->size()));
  return front;
}

void ReadRequestLine(std::string_view line, Request* request) {
  const std::size_t first = line.find(' ');
  const std::size_t last = line.rfind(' ');
  if (first == std::string_view::npos || first == last) return;
  request->method = line.substr(0, first);
  request->target = line.substr(first + 1, last - first - 1);
  request->version = line.substr(last + 1);
}

std::vector<Header> ReadHeaders(std::string_view lines) {
  std::vector<Header> headers;
  while (!lines.empty()) {
    std::string_view line = TakeUntil(kLineEnd, &lines);
    const std::string_view name = TakeUntil(":", &line);
    headers.push_back({std::string(name), std::string(Trimmed(line))});
  }
  return headers;
}

// Reads `form-data;name="licence";filename="S20240301100000.tar.gz"`.
void ReadDisposition(std::string_view value, FormFile* file) {
  while (!value.empty()) {
    std::string_view parameter = Trimmed(TakeUntil(";", &value));
    const std::string_view name = TakeUntil("=", &parameter);
    if (parameter.size() < 2 || !parameter.starts_with('"') || !parameter.ends_with('"')) continue;
    const std::string_view text = parameter.substr(1, parameter.size() - 2);
    if (name == "name") file->field = text;
    if (name == "filename") file->fileName = text;
  }
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
  head = TakeUntil(kHeadEnd, &head);
  ReadRequestLine(TakeUntil(kLineEnd, &head), &request);
  request.headers = ReadHeaders(head);
  return request;
}

std::optional<FormFile> ReadForm(std::string_view body) {
  if (!body.starts_with(kFormOpening) || !body.ends_with(kFormClosing)) return std::nullopt;
  if (body.size() < kFormOpening.size() + kFormClosing.size()) return std::nullopt;
  body.remove_prefix(kFormOpening.size());
  body.remove_suffix(kFormClosing.size());
  if (body.find(kNextPart) != std::string_view::npos) return std::nullopt;

  FormFile file;
  for (const Header& header : ReadHeaders(TakeUntil(kHeadEnd, &body))) {
    if (SameName(header.name, "Content-Disposition")) ReadDisposition(header.value, &file);
    if (SameName(header.name, "Content-Type")) file.contentType = header.value;
  }
  file.content = body;
  return file;
}

}  // namespace cloud
