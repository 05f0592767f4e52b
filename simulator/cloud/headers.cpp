#include "cloud/headers.h"

#include <array>
#include <vector>

#include "cloud/fault.h"

namespace cloud {

namespace {

constexpr std::array<ExpectedHeader, 5> kJsonHeaders{{
    {"Connection", "Keep-Alive"},
    {"Accept", "application/json,text/javascript, */*; q=0.01"},
    {"Accept-Encoding", "gzip, deflate,sdch"},
    {"Accept-Language", "zh-CN,zh;q=0.8"},
    {"Content-Type",
     "application/json; charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln"},
}};

constexpr std::array<ExpectedHeader, 5> kUploadHeaders{{
    {"Connection", "Keep-Alive"},
    {"Accept", "*/*; q=0.01"},
    {"Accept-Encoding", "gzip, deflate,sdch"},
    {"Accept-Language", "zh-CN,zh;q=0.8"},
    {"Content-Type",
     "multipart/form-data;charset=UTF-8;boundary=--WebKitFormBoundaryslLU7UmlAp48QHln"},
}};

std::string TheOnlyValue(const Request& request, const std::string& name) {
  const std::vector<std::string> values = request.Values(name);
  if (values.empty()) throw Fault("header " + name + " is missing");
  if (values.size() > 1) throw Fault("header " + name + " comes more than once");
  return values[0];
}

}  // namespace

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

std::span<const ExpectedHeader> GatewayHeaders(bool isUpload) {
  return isUpload ? kUploadHeaders : kJsonHeaders;
}

std::string FindHeader(const Request& request, const ExpectedHeader& header) {
  const std::string value = TheOnlyValue(request, header.name);
  if (value == header.value) return Quoted(value);
  throw Fault(std::string("header ") + header.name + " is " + Quoted(value) + ", expected " +
              Quoted(header.value));
}

std::string FindHost(const Request& request) {
  const std::string host = TheOnlyValue(request, "Host");
  if (host.empty()) throw Fault("header Host is empty");
  return Quoted(host);
}

std::string FindLength(const Request& request) {
  std::string text = TheOnlyValue(request, "Content-Length");
  const auto length = request.ContentLength();
  if (!length) throw Fault("header Content-Length is " + Quoted(text));
  if (*length > kBodyLimitBytes) throw Fault("a body of " + text + " bytes is too large");
  if (*length != request.body.size()) {
    throw Fault("only " + std::to_string(request.body.size()) + " of " + text + " bytes arrived");
  }
  return text;
}

}  // namespace cloud
