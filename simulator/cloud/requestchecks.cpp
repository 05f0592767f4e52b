#include "cloud/requestchecks.h"

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "cloud/archive.h"
#include "cloud/documents.h"
#include "cloud/fault.h"
#include "cloud/members.h"

namespace cloud {

namespace {

struct ExpectedHeader {
  const char* name;
  const char* value;
};

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

constexpr std::string_view kArchiveEnding = ".tar.gz";

std::string TheOnlyValue(const Request& request, const std::string& name) {
  const std::vector<std::string> values = request.Values(name);
  if (values.empty()) throw Fault("header " + name + " is missing");
  if (values.size() > 1) throw Fault("header " + name + " comes more than once");
  return values[0];
}

void CheckHeaders(const Request& request, std::span<const ExpectedHeader> expected) {
  if (request.version != "HTTP/1.1") throw Fault("the request is not HTTP/1.1");
  if (TheOnlyValue(request, "Host").empty()) throw Fault("header Host is empty");
  for (const ExpectedHeader& header : expected) {
    const std::string value = TheOnlyValue(request, header.name);
    if (value != header.value) {
      throw Fault(std::string("header ") + header.name + " is \"" + value + "\", expected \"" +
                  header.value + "\"");
    }
  }
}

void CheckLength(const Request& request) {
  const std::string text = TheOnlyValue(request, "Content-Length");
  const auto length = request.ContentLength();
  if (!length) throw Fault("header Content-Length is \"" + text + "\"");
  if (*length > kBodyLimitBytes) throw Fault("a body of " + text + " bytes is too large");
  if (*length != request.body.size()) {
    throw Fault("only " + std::to_string(request.body.size()) + " of " + text + " bytes arrived");
  }
}

void CheckForm(const std::optional<FormFile>& file) {
  if (!file) throw Fault("the body is not one part framed by the boundary of Content-Type");
  if (file->field != "licence") throw Fault("the form has no field \"licence\"");
  if (file->fileName.empty()) throw Fault("field \"licence\" has no file name");
  if (file->contentType != "application/octet-stream") {
    throw Fault("field \"licence\" is \"" + file->contentType +
                "\", expected \"application/octet-stream\"");
  }
}

void OpenArchive(const EndpointFacts& facts, Exchange* exchange) {
  const std::string& fileName = exchange->fileName;
  if (!IsArchiveName(fileName, facts.filePrefix)) {
    throw Fault("file name " + fileName + " is not " + facts.filePrefix +
                " and 14 digits and .tar.gz");
  }
  ArchiveContent content = ReadArchive(exchange->archive);
  exchange->memberName = content.memberName;
  exchange->document = std::move(content.text);
  const std::string stem = fileName.substr(0, fileName.size() - kArchiveEnding.size());
  if (exchange->memberName != stem + ".dat") {
    throw Fault("the archive's member is " + exchange->memberName + ", expected " + stem + ".dat");
  }
}

void CheckSerialNumber(const std::string& found, const std::string& expected) {
  if (expected.empty() || found == expected) return;
  throw Fault("\"sn\" is \"" + found + "\", expected \"" + expected + "\"");
}

void CheckContent(const EndpointFacts& facts, const std::string& serialNumber, Exchange* exchange) {
  const DocumentFacts found = CheckDocument(facts.endpoint, exchange->document);
  exchange->serialNumber = found.serialNumber;
  exchange->devices = found.devices;
  exchange->points = found.points;
  exchange->recall = found.recall;
  CheckSerialNumber(found.serialNumber, serialNumber);
}

void CheckUpload(const EndpointFacts& facts, const Expectations& expected, Exchange* exchange) {
  const std::optional<FormFile> file = ReadForm(exchange->request.body);
  if (file) {
    exchange->fileName = file->fileName;
    exchange->archive = file->content;
  }
  if (expected.headers) CheckHeaders(exchange->request, kUploadHeaders);
  CheckLength(exchange->request);
  CheckForm(file);
  OpenArchive(facts, exchange);
  CheckContent(facts, expected.serialNumber, exchange);
}

void CheckJsonRequest(const EndpointFacts& facts, const Expectations& expected,
                      Exchange* exchange) {
  exchange->document = exchange->request.body;
  if (expected.headers) CheckHeaders(exchange->request, kJsonHeaders);
  CheckLength(exchange->request);
  if (facts.endpoint == Endpoint::kSkipAddress) {
    if (!exchange->document.empty()) throw Fault("the body is not empty");
    return;
  }
  CheckContent(facts, expected.serialNumber, exchange);
}

}  // namespace

void CheckRequest(const EndpointFacts& facts, const Expectations& expected, Exchange* exchange) {
  try {
    if (facts.IsUpload()) {
      CheckUpload(facts, expected, exchange);
    } else {
      CheckJsonRequest(facts, expected, exchange);
    }
  } catch (const Fault& fault) {
    exchange->fault = fault.what();
  }
}

}  // namespace cloud
