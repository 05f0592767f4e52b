#include "cloud/requestchecks.h"

#include <optional>
#include <string_view>
#include <vector>

#include "cloud/archive.h"
#include "cloud/documents.h"
#include "cloud/fault.h"
#include "cloud/headers.h"
#include "cloud/members.h"

namespace cloud {

namespace {

// Names of checks that others build on.
constexpr char kLength[] = "Content-Length";
constexpr char kForm[] = "Form";
constexpr char kFileName[] = "File name";
constexpr char kArchive[] = "Archive";
constexpr char kJson[] = "JSON";
constexpr char kDocument[] = "Document";

// The checks of one request, in the order in which a reader meets its parts.
class RequestChecks {
 public:
  RequestChecks(const EndpointFacts& facts, const Expectations& expected, Exchange* exchange)
      : m_facts(facts),
        m_expected(expected),
        m_exchange(*exchange),
        m_list(&exchange->checks, &exchange->fault) {}

  void CheckUpload() {
    const std::optional<FormFile> file = ReadForm(m_exchange.request.body);
    if (file) {
      m_exchange.fileName = file->fileName;
      m_exchange.archive = file->content;
    }
    if (m_expected.headers) CheckHeaders();
    CheckForm(file, CheckLength());
    CheckFile(file.has_value());
  }

  void CheckJsonRequest() {
    m_exchange.document = m_exchange.request.body;
    if (m_expected.headers) CheckHeaders();
    const bool whole = CheckLength();
    if (m_facts.endpoint == Endpoint::kSkipAddress) {
      m_list.Make("Body", "no body", [this] { return FindNoBody(); });
    } else {
      CheckContent(whole, kLength);
    }
  }

 private:
  void CheckHeaders() {
    const Request& request = m_exchange.request;
    m_list.Make("HTTP version", "HTTP/1.1", [&] {
      if (request.version != "HTTP/1.1") throw Fault("the request is not HTTP/1.1");
      return request.version;
    });
    m_list.Make("Host", "one header that is not empty", [&] { return FindHost(request); });
    for (const ExpectedHeader& header : GatewayHeaders(m_facts.IsUpload())) {
      m_list.Make(header.name, Quoted(header.value), [&] { return FindHeader(request, header); });
    }
  }

  bool CheckLength() {
    return m_list.Make(kLength, "the body's length, at most 1048576",
                       [this] { return FindLength(m_exchange.request); });
  }

  // `whole`: the body has arrived as announced.
  void CheckForm(const std::optional<FormFile>& file, bool whole) {
    constexpr char kExpected[] = "one part framed by the boundary of Content-Type";
    const bool form =
        (whole || file)
            ? m_list.Make(
                  kForm, kExpected,
                  [&] {
                    if (!file)
                      throw Fault(
                          "the body is not one part framed by the boundary of Content-Type");
                    return std::to_string(file->content.size()) + " bytes in it";
                  })
            : m_list.Skip(kForm, kLength);
    if (form) return CheckPart(*file);
    for (const char* name : {"Form field", "Form file name", "Form type"}) m_list.Skip(name, kForm);
  }

  void CheckPart(const FormFile& file) {
    m_list.Make("Form field", "\"licence\"", [&] {
      if (file.field != "licence") throw Fault("the form has no field \"licence\"");
      return Quoted(file.field);
    });
    m_list.Make("Form file name", "a file name", [&] {
      if (file.fileName.empty()) throw Fault("field \"licence\" has no file name");
      return Quoted(file.fileName);
    });
    m_list.Make("Form type", "\"application/octet-stream\"", [&] {
      if (file.contentType == "application/octet-stream") return Quoted(file.contentType);
      throw Fault("field \"licence\" is " + Quoted(file.contentType) +
                  ", expected \"application/octet-stream\"");
    });
  }

  // The file in the form: its name, the archive, and what is in it.
  void CheckFile(bool arrived) {
    if (!arrived) {
      for (const char* name : {kFileName, kArchive}) m_list.Skip(name, kForm);
      m_list.Skip("Member", kForm);
      return CheckContent(false, kForm);
    }
    const bool named = m_list.Make(kFileName, NameForm(), [this] { return FindFileName(); });
    const bool opened = m_list.Make(kArchive, "a gzip-compressed tar archive with one member",
                                    [this] { return OpenArchive(); });
    if (named && opened) {
      m_list.Make("Member", MemberName(), [this] { return FindMember(); });
    } else {
      m_list.Skip("Member", named ? kArchive : kFileName);
    }
    CheckContent(opened, kArchive);
  }

  std::string NameForm() const {
    return std::string(1, m_facts.filePrefix) + " and 14 digits and .tar.gz";
  }

  std::string FindFileName() const {
    if (IsArchiveName(m_exchange.fileName, m_facts.filePrefix)) return m_exchange.fileName;
    throw Fault("file name " + m_exchange.fileName + " is not " + NameForm());
  }

  std::string OpenArchive() {
    ArchiveContent content = ReadArchive(m_exchange.archive);
    m_exchange.memberName = content.memberName;
    m_exchange.document = std::move(content.text);
    return std::to_string(m_exchange.document.size()) + " bytes in " + m_exchange.memberName;
  }

  std::string MemberName() const {
    const std::string& name = m_exchange.fileName;
    return name.substr(0, name.size() - kArchiveEnding.size()) + ".dat";
  }

  std::string FindMember() const {
    if (m_exchange.memberName == MemberName()) return m_exchange.memberName;
    throw Fault("the archive's member is " + m_exchange.memberName + ", expected " + MemberName());
  }

  // `needed` names the check without which there is no document.
  void CheckContent(bool there, const char* needed) {
    const bool json = there ? m_list.Make(kJson, "one JSON document",
                                          [this] { return FindJson(m_exchange.document); })
                            : m_list.Skip(kJson, needed);
    const bool sound = json ? m_list.Make(kDocument, "exactly the members of this endpoint",
                                          [this] { return FindDocument(); })
                            : m_list.Skip(kDocument, there ? kJson : needed);
    if (sound) {
      m_list.Make("Serial number", SerialForm(), [this] { return FindSerialNumber(); });
    } else {
      m_list.Skip("Serial number", !there ? needed : json ? kDocument : kJson);
    }
  }

  std::string FindDocument() {
    const DocumentFacts found = CheckDocument(m_facts.endpoint, m_exchange.document);
    m_exchange.serialNumber = found.serialNumber;
    m_exchange.devices = found.devices;
    m_exchange.points = found.points;
    m_exchange.recall = found.recall;
    if (!m_facts.IsUpload()) return "them";
    return std::to_string(found.devices) + " devices and " + std::to_string(found.points) +
           " points";
  }

  std::string SerialForm() const {
    return m_expected.serialNumber.empty() ? "any" : Quoted(m_expected.serialNumber);
  }

  std::string FindSerialNumber() const {
    const std::string& found = m_exchange.serialNumber;
    if (m_expected.serialNumber.empty() || found == m_expected.serialNumber) return Quoted(found);
    throw Fault("\"sn\" is " + Quoted(found) + ", expected " + Quoted(m_expected.serialNumber));
  }

  std::string FindNoBody() const {
    if (!m_exchange.document.empty()) throw Fault("the body is not empty");
    return "none";
  }

  const EndpointFacts& m_facts;
  const Expectations& m_expected;
  Exchange& m_exchange;
  CheckList m_list;
};

}  // namespace

void CheckRequest(const EndpointFacts& facts, const Expectations& expected, Exchange* exchange) {
  RequestChecks checks(facts, expected, exchange);
  if (facts.IsUpload()) {
    checks.CheckUpload();
  } else {
    checks.CheckJsonRequest();
  }
}

}  // namespace cloud
