// XML files that are refused, and what no XML file can reach.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/gateway.h"
#include "support/rawserver.h"
#include "util/file.h"
#include "util/xml.h"

namespace {

using std::string_literals::operator""s;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;

constexpr char kPath[] = "/tessel/Config/file.xml";
constexpr char kAnyReason[] = "line [12]: [^\n]+";

struct RefusedRow {
  const char* name;
  std::function<void()> make;  // makes kPath
  std::string reason;          // a regular expression
};

void PrintTo(const RefusedRow& row, std::ostream* out) {
  *out << row.name;
}

std::function<void()> Text(const std::string& text) {
  return [text] { test::WriteFile(kPath, text); };
}

// Many elements from the second line on.
std::function<void()> Elements(int count, const std::string& element) {
  std::string text = "<r>\n";
  for (int i = 0; i < count; ++i) text += element;
  return Text(text + "</r>");
}

std::string Attributes(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += " a" + std::to_string(i) + "=''";
  return text;
}

// The text in 16 bits a character, low byte first.
std::string Utf16(const std::string& ascii) {
  std::string text;
  for (const char c : ascii) (text += c) += '\0';
  return text;
}

class RefusedXml : public test::GatewayTest, public ::testing::WithParamInterface<RefusedRow> {};

TEST_P(RefusedXml, IsNamedOnOneLineWithTheReason) {
  test::WriteFile(kPath, "");
  unlink(kPath);
  GetParam().make();
  testing::internal::CaptureStderr();

  EXPECT_FALSE(util::XmlDocument::Read(kPath));

  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              MatchesRegex(kPath + ": "s + GetParam().reason + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Files, RefusedXml,
    ::testing::ValuesIn<std::vector<RefusedRow>>(
        {{"missing", [] {}, "cannot be read: No such file or directory"},
         {"directory", [] { mkdir(kPath, 0755); }, "is not a regular file"},
         {"pipe without a writer", [] { mkfifo(kPath, 0600); }, "is not a regular file"},
         {"too large", Text("<r>" + std::string(8388608 - 7 + 1, ' ') + "</r>"),
          "is larger than 8388608 bytes"}}));

INSTANTIATE_TEST_SUITE_P(Limits, RefusedXml,
                         ::testing::ValuesIn<std::vector<RefusedRow>>(
                             {{"attributes of a tag", Text("<r>\n\n<e" + Attributes(65) + "/></r>"),
                               "line 3: has a tag with more than 64 attributes"},
                              {"name spaces", Elements(65, "<e xmlns:a='u'/>"),
                               "line 2: declares more than 64 name spaces"},
                              {"elements", Elements(262144, "<e/>"),
                               "line 2: has more than 262144 elements and attributes"},
                              {"attributes", Elements(131072, "<e a=''/>"),
                               "line 2: has more than 262144 elements and attributes"}}));

INSTANTIATE_TEST_SUITE_P(
    Declarations, RefusedXml,
    ::testing::ValuesIn<std::vector<RefusedRow>>(
        {{"entity", Text("<!DOCTYPE r [\n<!ENTITY x \"x\">]><r/>"), "line 2: declares an entity"},
         {"unparsed entity",
          Text("<!DOCTYPE r [<!NOTATION n SYSTEM 'n'><!ENTITY x SYSTEM 'x' NDATA n>]><r/>"),
          "line 1: declares an entity"},
         {"attribute", Text("<!DOCTYPE r [<!ATTLIST r a (b|c) \"b\">]>\n<r/>"),
          "line 1: declares an attribute"}}));

INSTANTIATE_TEST_SUITE_P(
    Malformed, RefusedXml,
    ::testing::ValuesIn<std::vector<RefusedRow>>(
        {{"empty", Text(""), kAnyReason},
         {"cut short", Text("<r><a/>"), kAnyReason},
         {"several errors", Text("<r>\n<!--<!--<!--<!--</r>"),
          "line 2: Double hyphen within comment"},
         {"message of two lines", Text("<r a=\"caf\xE9\"/>"),
          "line 1: Input is not proper UTF-8, indicate encoding ! Bytes: 0xE9 0x22 0x2F "
          "0x3E"},
         {"long message", Text("<r></" + std::string(1000, 'a') + ">"),
          ("line 1: Opening and ending tag mismatch: r line 1 and "s + std::string(1000, 'a'))
              .substr(0, 300)},
         {"GBK", Text("<?xml version=\"1.0\" encoding=\"GBK\"?><r a=\"\xB1\xC3\"/>"), kAnyReason},
         {"UTF-16", Text("\xFF\xFE" + Utf16("<r/>")), kAnyReason},
         {"zero byte in a value", Text("<r a=\"1\0002\"/>"s), kAnyReason},
         {"comment start in a value", Text("<r a=\"<!--\"/><!-- -->"), kAnyReason},
         {"comment start in a tag", Text("<r <!-- a='' -->/>"), kAnyReason},
         {"compressed", Text("\x1F\x8B\x08\0\0\0\0\0\0\x03\xB3\x29\xD2\xB7\x03\0"s), kAnyReason}}));

class XmlRefusal : public test::GatewayTest {};

TEST_F(XmlRefusal, NeedsAPath) {
  EXPECT_FALSE(util::XmlDocument::Read(nullptr));
}

TEST_F(XmlRefusal, KeepsThePathOnOneLine) {
  testing::internal::CaptureStderr();

  util::XmlDocument::Read("/tessel/two\nlines.xml");

  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              MatchesRegex("/tessel/two lines.xml: [^\n]+\n"));
}

TEST_F(XmlRefusal, PassesOverErrorsThatAreNotFatal) {
  test::WriteFile(kPath, "<r><undeclared:e/></r>");
  testing::internal::CaptureStderr();

  EXPECT_TRUE(util::XmlDocument::Read(kPath));

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// Documents that try to bring another file or address into a value.
struct ReachingRow {
  const char* name;
  std::string before;
  std::string after;
};

void PrintTo(const ReachingRow& row, std::ostream* out) {
  *out << row.name;
}

class ReachingXml : public test::GatewayTest, public ::testing::WithParamInterface<ReachingRow> {
 protected:
  // All values that the service could take from the document that asks for `wanted`.
  static std::string ValuesFor(const std::string& wanted) {
    test::WriteFile(kPath, GetParam().before + wanted + GetParam().after);
    const auto document = util::XmlDocument::Read(kPath);
    return document ? Values(*document.Root()) : "";
  }

 private:
  static std::string Values(const util::XmlElement& element) {
    std::string values = element.Attribute("leak").value_or("");
    for (const auto& attribute : element.Attributes()) values += attribute.value;
    for (const auto& child : element.Children()) values += Values(child);
    return values;
  }
};

TEST_P(ReachingXml, NeverGetsAnotherFile) {
  constexpr char kSecret[] = "the secret of another file";
  test::WriteFile("/tessel/secret", kSecret);
  test::WriteFile("/tessel/secret.dtd",
                  "<!ENTITY x \""s + kSecret + "\"><!ATTLIST r leak CDATA \"" + kSecret + "\">");

  for (const char* wanted : {"/tessel/secret", "file:///tessel/secret", "../secret.dtd"}) {
    EXPECT_THAT(ValuesFor(wanted), Not(HasSubstr(kSecret))) << wanted;
  }
}

TEST_P(ReachingXml, NeverAsksAnAddress) {
  test::RawServer server;
  server.Answer(test::HttpAnswer(200, ""));

  ValuesFor(server.Url("/entity"));

  EXPECT_THAT(server.Requests(), IsEmpty());
}

TEST_P(ReachingXml, NeverReadsFromAPipe) {
  ASSERT_EQ(mkfifo("/tessel/pipe", 0600), 0);
  const util::Descriptor writer(open("/tessel/pipe", O_RDWR | O_CLOEXEC));
  ASSERT_EQ(write(writer.Get(), "1234", 4), 4);

  ValuesFor("/tessel/pipe");

  int left = 0;
  ASSERT_EQ(ioctl(writer.Get(), FIONREAD, &left), 0);
  EXPECT_EQ(left, 4);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, ReachingXml,
    ::testing::ValuesIn<std::vector<ReachingRow>>(
        {{"entity", "<!DOCTYPE r [<!ENTITY x SYSTEM \"", "\">]><r a=\"&x;\">&x;</r>"},
         {"parameter entity", "<!DOCTYPE r [<!ENTITY % x SYSTEM \"", "\"> %x;]><r/>"},
         {"type declaration", "<!DOCTYPE r SYSTEM \"", "\"><r a=\"&x;\">&x;</r>"},
         {"public type declaration", "<!DOCTYPE r PUBLIC \"p\" \"", "\"><r/>"},
         {"inclusion", "<r xmlns:xi=\"http://www.w3.org/2001/XInclude\"><xi:include href=\"",
          "\"/></r>"},
         {"style sheet", "<?xml-stylesheet href=\"", "\"?><r/>"}}));

}  // namespace
