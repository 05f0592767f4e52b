// XML files that are refused, and what no XML file can reach.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <utility>

#include "support/files.h"
#include "support/gateway.h"
#include "support/rawserver.h"
#include "util/file.h"
#include "util/xml.h"

namespace {

using std::string_literals::operator""s;
using namespace testing;

constexpr char kRefusedFile[] = "/tessel/Config/file.xml";
constexpr char kAnyReason[] = "line [12]: [^\n]+";

struct RefusalRow {
  const char* name;
  std::function<void()> make;  // makes kRefusedFile
  std::string reason;          // a regular expression
};

std::function<void()> Written(const std::string& text) {
  return [text] { test::WriteFile(kRefusedFile, text); };
}

std::string Repeat(int count, const std::string& text) {
  std::string whole;
  for (int i = 0; i < count; ++i) whole += text;
  return whole;
}

class XmlRefusal : public test::GatewayTest {};

TEST_F(XmlRefusal, SaysOnOneLineWhichFileAndWhy) {
  for (const auto& row :
       {RefusalRow{"missing", [] {}, "cannot be read: No such file or directory"},
        {"directory", [] { mkdir(kRefusedFile, 0755); }, "is not a regular file"},
        {"pipe without a writer", [] { mkfifo(kRefusedFile, 0600); }, "is not a regular file"},
        {"too large", Written("<r>" + std::string(8388608 - 7 + 1, ' ') + "</r>"),
         "is larger than 8388608 bytes"},
        {"attributes of a tag", Written("<r>\n\n<e" + Repeat(65, " a=''") + "/></r>"),
         "line 3: has a tag with more than 64 attributes"},
        {"name spaces", Written("<r>\n" + Repeat(65, "<e xmlns:a='u'/>") + "</r>"),
         "line 2: declares more than 64 name spaces"},
        {"attributes", Written("<r>\n" + Repeat(131072, "<e a=''/>") + "</r>"),
         "line 2: has more than 262144 elements and attributes"},
        {"entity", Written("<!DOCTYPE r [\n<!ENTITY x \"x\">]><r/>"), "line 2: declares an entity"},
        {"unparsed entity",
         Written("<!DOCTYPE r [<!NOTATION n SYSTEM 'n'><!ENTITY x SYSTEM 'x' NDATA n>]><r/>"),
         "line 1: declares an entity"},
        {"attribute", Written("<!DOCTYPE r [<!ATTLIST r a (b|c) \"b\">]>\n<r/>"),
         "line 1: declares an attribute"},
        {"empty", Written(""), kAnyReason},
        {"cut short", Written("<r><a/>"), kAnyReason},
        {"several errors", Written("<r>\n<!--<!--<!--<!--</r>"),
         "line 2: Double hyphen within comment"},
        {"message of two lines", Written("<r a=\"caf\xE9\"/>"),
         "line 1: Input is not proper UTF-8, indicate encoding ! Bytes: 0xE9 0x22 0x2F 0x3E"},
        {"long message", Written("<r></" + std::string(1000, 'a') + ">"),
         ("line 1: Opening and ending tag mismatch: r line 1 and "s + std::string(1000, 'a'))
             .substr(0, 300)},
        {"GBK", Written("<?xml version=\"1.0\" encoding=\"GBK\"?><r a=\"\xB1\xC3\"/>"), kAnyReason},
        {"UTF-16", Written("\xFF\xFE<\0r\0/\0>\0"s), kAnyReason},
        {"zero byte in a value", Written("<r a=\"1\0002\"/>"s), kAnyReason},
        {"comment start in a value", Written("<r a=\"<!--\"/><!-- -->"), kAnyReason},
        {"comment start in a tag", Written("<r <!-- a='' -->/>"), kAnyReason},
        {"compressed", Written("\x1F\x8B\x08\0\0\0\0\0\0\x03\xB3\x29\xD2\xB7\x03\0"s),
         kAnyReason}}) {
    test::WriteFile(kRefusedFile, "");
    std::filesystem::remove(kRefusedFile);
    row.make();
    testing::internal::CaptureStderr();

    EXPECT_FALSE(util::XmlDocument::Read(kRefusedFile)) << row.name;

    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                MatchesRegex(kRefusedFile + ": "s + row.reason + "\n"))
        << row.name;
    std::filesystem::remove(kRefusedFile);
  }
}

TEST_F(XmlRefusal, KeepsThePathOnOneLineAndNeedsOne) {
  testing::internal::CaptureStderr();

  EXPECT_FALSE(util::XmlDocument::Read("/tessel/two\nlines.xml"));
  EXPECT_FALSE(util::XmlDocument::Read(nullptr));

  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              MatchesRegex("/tessel/two lines.xml: [^\n]+\n: [^\n]+\n"));
}

TEST_F(XmlRefusal, PassesOverErrorsThatAreNotFatal) {
  test::WriteFile(kRefusedFile, "<r><undeclared:e/></r>");
  testing::internal::CaptureStderr();

  EXPECT_TRUE(util::XmlDocument::Read(kRefusedFile));

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// Everything that the service could take from a document.
std::string Values(const util::XmlElement& element) {
  std::string values = element.Attribute("leak").value_or("");
  for (const auto& attribute : element.Attributes()) values += attribute.value;
  for (const auto& child : element.Children()) values += Values(child);
  return values;
}

// Reads documents that try to bring what stands at `wanted` into a value. Returns their values.
std::string ValuesFor(const std::string& wanted) {
  std::string values;
  for (const auto& [before, after] :
       {std::pair{"<!DOCTYPE r [<!ENTITY x SYSTEM \"", "\">]><r a=\"&x;\">&x;</r>"},
        {"<!DOCTYPE r [<!ENTITY % x SYSTEM \"", "\"> %x;]><r/>"},
        {"<!DOCTYPE r SYSTEM \"", "\"><r a=\"&x;\">&x;</r>"},
        {"<!DOCTYPE r PUBLIC \"p\" \"", "\"><r/>"},
        {"<r xmlns:i=\"http://www.w3.org/2001/XInclude\"><i:include href=\"", "\"/></r>"}}) {
    test::WriteFile(kRefusedFile, before + wanted + after);
    const auto document = util::XmlDocument::Read(kRefusedFile);
    if (document) values += Values(*document.Root());
  }
  return values;
}

TEST_F(XmlRefusal, NeverReachesAnotherFile) {
  constexpr char kSecret[] = "the secret of another file";
  test::WriteFile("/tessel/secret", kSecret);
  test::WriteFile("/tessel/secret.dtd",
                  "<!ENTITY x \""s + kSecret + "\"><!ATTLIST r leak CDATA \"" + kSecret + "\">");

  for (const char* wanted : {"/tessel/secret", "file:///tessel/secret", "../secret.dtd"}) {
    EXPECT_THAT(ValuesFor(wanted), Not(HasSubstr(kSecret))) << wanted;
  }
}

TEST_F(XmlRefusal, NeverAsksAnAddressOrReadsFromAPipe) {
  test::RawServer server;
  server.Answer(test::HttpAnswer(200, ""));
  ASSERT_EQ(mkfifo("/tessel/pipe", 0600), 0);
  const util::Descriptor writer(open("/tessel/pipe", O_RDWR | O_CLOEXEC));
  ASSERT_EQ(write(writer.Get(), "1234", 4), 4);

  ValuesFor(server.Url("/entity"));
  ValuesFor("/tessel/pipe");

  EXPECT_THAT(server.Requests(), IsEmpty());
  int left = 0;
  ASSERT_EQ(ioctl(writer.Get(), FIONREAD, &left), 0);
  EXPECT_EQ(left, 4);
}

}  // namespace
