#include "console/uploads/curlline.h"

#include <strings.h>

#include <sstream>
#include <string_view>
#include <vector>

#include "console/uploads/text.h"
#include "util/json.h"

namespace console {
namespace {

constexpr char kBoundary[] = "----WebKitFormBoundaryslLU7UmlAp48QHln";

bool IsNamed(std::string_view header, std::string_view name) {
  return header.size() > name.size() && header[name.size()] == ':' &&
         strncasecmp(header.data(), name.data(), name.size()) == 0;
}

// A recorded head, taken apart.
struct Head {
  std::string target{};
  std::string host{};
  std::vector<std::string> headers{};  // those that curl does not make itself
};

Head ReadHead(const std::string& text) {
  std::istringstream lines(text);
  std::string line;
  std::string method;
  Head head;
  std::getline(lines, line);
  std::istringstream(line) >> method >> head.target;
  while (std::getline(lines, line)) {
    if (IsNamed(line, "Host")) {
      head.host = line.substr(std::string_view("Host: ").size());
    } else if (!IsNamed(line, "Content-Length")) {
      head.headers.push_back(line);
    }
  }
  return head;
}

// Field, file name and type of the form's one part; empty where the form has none.
struct Part {
  std::string name{};
  std::string filename{};
  std::string type{};
};

Part ReadPart(const std::string& parts) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(parts.data(), parts.size());
  Part part;
  if (document.HasParseError() || !document.IsArray() || document.Empty()) return part;
  const rapidjson::Value& first = document[0];
  const auto text = [&](const char* key) {
    const auto member = first.FindMember(key);
    const bool there = member != first.MemberEnd() && member->value.IsString();
    return there ? std::string(member->value.GetString(), member->value.GetStringLength()) : "";
  };
  return {text("name"), text("filename"), text("type")};
}

// The body of an upload as a substitution of bash: the form's frame around the archive.
std::string FormBody(const IndexedExchange& exchange) {
  const Part part = ReadPart(exchange.parts);
  const std::string disposition =
      "Content-Disposition:form-data;name=\"" + part.name + "\";filename=\"" + part.filename + "\"";
  const std::string file = ShellWord("./" + DownloadName(exchange.upload));
  return std::string("@<(printf '%s\\r\\n' ") + ShellWord(kBoundary) + " " +
         ShellWord(disposition) + " " + ShellWord("Content-Type:" + part.type) + " ''; cat " +
         file + "; printf '\\r\\n%s\\r\\n' " + ShellWord(std::string(kBoundary) + "--") + ")";
}

}  // namespace

std::string CurlLine(const IndexedExchange& exchange) {
  const Head head = ReadHead(exchange.head);
  std::string line = "curl -i " + ShellWord("http://" + head.host + head.target);
  for (const std::string& header : head.headers) line += " -H " + ShellWord(header);
  line += " -H 'User-Agent:' -H 'Expect:' --data-binary ";
  return line + (exchange.archive.empty() ? ShellWord(exchange.body) : FormBody(exchange));
}

std::string DownloadName(const IndexedUpload& upload) {
  return SafeFileName(upload.name, "upload-" + std::to_string(upload.id) + ".tar.gz");
}

}  // namespace console
