// Configuration files that are not what they should be, or that reach for what is not theirs.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <ostream>
#include <string>

#include "support/files.h"
#include "support/gateway.h"
#include "support/rawserver.h"
#include "util/file.h"
#include "util/xml.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;

constexpr char kPath[] = "/tessel/Config/file.xml";
constexpr char kSecret[] = "the secret of another file";

util::XmlDocument ReadText(const std::string& text) {
  test::WriteFile(kPath, text);
  return util::XmlDocument::Read(kPath);
}

// Every value that the service could get out of a document.
std::string AllValues(const util::XmlElement& element) {
  std::string values;
  for (const auto& attribute : element.Attributes()) {
    values += attribute.value + element.Attribute(attribute.name.c_str()).value_or("");
  }
  values += element.Attribute("leak").value_or("");
  for (const auto& child : element.Children()) values += AllValues(child);
  return values;
}

std::string AllValues(const util::XmlDocument& document) {
  return document ? AllValues(*document.Root()) : "";
}

class XmlRefusal : public test::GatewayTest {};

TEST_F(XmlRefusal, RefusesANullPath) {
  EXPECT_FALSE(util::XmlDocument::Read(nullptr));
}

TEST_F(XmlRefusal, RefusesAnEmptyPath) {
  EXPECT_FALSE(util::XmlDocument::Read(""));
}

TEST_F(XmlRefusal, RefusesANamedPipeWithAWriter) {
  ASSERT_EQ(mkfifo("/tessel/pipe.xml", 0600), 0);
  const util::Descriptor writer(open("/tessel/pipe.xml", O_RDWR | O_CLOEXEC));
  ASSERT_EQ(write(writer.Get(), "<r/>", 4), 4);

  EXPECT_FALSE(util::XmlDocument::Read("/tessel/pipe.xml"));
}

TEST_F(XmlRefusal, RefusesDevices) {
  EXPECT_FALSE(util::XmlDocument::Read("/dev/zero"));
  EXPECT_FALSE(util::XmlDocument::Read("/dev/null"));
}

TEST_F(XmlRefusal, RefusesASocket) {
  const util::Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_un address{AF_UNIX, "/tessel/socket.xml"};
  ASSERT_EQ(bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);

  EXPECT_FALSE(util::XmlDocument::Read("/tessel/socket.xml"));
}

TEST_F(XmlRefusal, TakesADashForAFilesName) {
  test::WriteFile(kPath, "<r/>");
  const util::Descriptor keptInput(dup(STDIN_FILENO));
  const util::Descriptor file(open(kPath, O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(dup2(file.Get(), STDIN_FILENO), STDIN_FILENO);

  const auto document = util::XmlDocument::Read("-");

  dup2(keptInput.Get(), STDIN_FILENO);
  EXPECT_FALSE(document) << "standard input was read";
}

TEST_F(XmlRefusal, RefusesACompressedFile) {
  test::WriteFile(kPath, "<r/>");
  ASSERT_EQ(std::system("gzip /tessel/Config/file.xml"), 0);
  ASSERT_TRUE(test::Exists("/tessel/Config/file.xml.gz"));

  EXPECT_FALSE(util::XmlDocument::Read("/tessel/Config/file.xml.gz"));
}

struct MalformedRow {
  const char* name;
  std::string text;
};

void PrintTo(const MalformedRow& row, std::ostream* out) {
  *out << row.name;
}

std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<e>";
  for (int i = 0; i < depth; ++i) text += "</e>";
  return text;
}

std::string Attributes(int count, const std::string& head) {
  std::string text = "<r";
  for (int i = 0; i < count; ++i) text += " " + head + std::to_string(i) + " = 'u'";
  return text + "/>";
}

// A text in 16 bits a character, little end first.
std::string Utf16(const std::string& ascii, const std::string& mark) {
  std::string text = mark;
  for (const char c : ascii) (text += c) += '\0';
  return text;
}

class Malformed : public test::GatewayTest, public ::testing::WithParamInterface<MalformedRow> {};

TEST_P(Malformed, GivesNoDocumentAndOneLineThatNamesIt) {
  testing::internal::CaptureStderr();

  EXPECT_FALSE(ReadText(GetParam().text));

  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              MatchesRegex("/tessel/Config/file.xml: line [12]: [^\n]+\n"));
}

using std::string_literals::operator""s;

INSTANTIATE_TEST_SUITE_P(
    Texts, Malformed,
    ::testing::Values(MalformedRow{"empty", ""}, MalformedRow{"blank", " \n"},
                      MalformedRow{"only the declaration", "<?xml version=\"1.0\"?>"},
                      MalformedRow{"no XML", "cloudip=127.0.0.1\n"},
                      MalformedRow{"cut short", "<r><a/>"},
                      MalformedRow{"cut within a tag", "<r a=\"1"},
                      MalformedRow{"two roots", "<r/><r/>"},
                      MalformedRow{"crossed tags", "<a><b></a></b>"},
                      MalformedRow{"an attribute twice", "<r a=\"1\" a=\"2\"/>"},
                      MalformedRow{"an undeclared entity", "<r a=\"&what;\"/>"},
                      MalformedRow{"Latin 1", "<r a=\"caf\xE9\"/>"},
                      MalformedRow{"GBK, as it claims",
                                   "<?xml version=\"1.0\" encoding=\"GBK\"?><r a=\"\xB1\xC3\"/>"},
                      MalformedRow{"UTF-16", Utf16("<r/>", "\xFF\xFE")},
                      MalformedRow{"UTF-16 without a mark", Utf16("<r/>", "")},
                      MalformedRow{"an overlong character", "<r a=\"\xC0\xBC\"/>"},
                      MalformedRow{"a zero byte in a value", "<r a=\"1\0002\"/>"s},
                      MalformedRow{"a zero byte in a tag", "<r\0a=\"1\"/>"s},
                      MalformedRow{"the start of a comment in a value", "<r a=\"<!--\"/><!-- -->"},
                      MalformedRow{"the start of an instruction in a value", "<r a=\"<?\"/><?a?>"},
                      MalformedRow{"the start of a comment in a tag", "<r <!-- a='' -->/>"},
                      MalformedRow{"a control character", "<r a=\"\x01\"/>"},
                      MalformedRow{"the number of one", "<r a=\"&#1;\"/>"},
                      MalformedRow{"elements nested 1,000 deep", Nested(1000)},
                      MalformedRow{"elements nested 100,000 deep", Nested(100'000)},
                      MalformedRow{"65 attributes", Attributes(65, "a")},
                      MalformedRow{"65 name spaces", Attributes(65, "xmlns:a")}));

// Documents around an element with many attributes: nothing in them may hide it.
struct SurroundedRow {
  const char* name;
  std::string before;
  std::string after;
};

void PrintTo(const SurroundedRow& row, std::ostream* out) {
  *out << row.name;
}

class Surrounded : public test::GatewayTest, public ::testing::WithParamInterface<SurroundedRow> {
 protected:
  static std::string With(int attributes) {
    return GetParam().before + Attributes(attributes, "a") + GetParam().after;
  }
};

TEST_P(Surrounded, ElementWithTooManyAttributesIsRefused) {
  EXPECT_FALSE(ReadText(With(65)));
}

TEST_P(Surrounded, ElementWithAsManyAsTheLimitIsRead) {
  EXPECT_TRUE(ReadText(With(64)));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Surrounded,
    ::testing::Values(
        SurroundedRow{"after a comment", "<!-- it's a='1' -->", ""},
        SurroundedRow{"between comments", "<!--a-->", "<!--b-->"},
        SurroundedRow{"after a short comment", "<!---->", "<!-- -->"},
        SurroundedRow{"after a comment that starts with an end", "<!-->-->", "<!-- -->"},
        SurroundedRow{"after an instruction", "<?a it's b='1'?>", "<?c?>"},
        SurroundedRow{"after a character section", "<e><![CDATA[it's a='1']]>", "</e>"},
        SurroundedRow{"after the start of a comment in an instruction", "<?a <!--?>", "<!-- -->"},
        SurroundedRow{"after the start of a comment in a character section", "<e><![CDATA[<!--]]>",
                      "<!-- --></e>"},
        SurroundedRow{"after the start of an instruction in a comment", "<!-- <?a -->", "<?b?>"},
        SurroundedRow{"after the start of a character section in a comment",
                      "<e><!-- <![CDATA[ -->", "<![CDATA[]]></e>"},
        SurroundedRow{"after quotes in text", "<e>it's 5\" > 4", "'\"</e>"},
        SurroundedRow{"after an end of tags in a value", "<e a='>' b=\"'>\">", "</e>"},
        SurroundedRow{"after the start of a comment in the name of a type",
                      "<!DOCTYPE r SYSTEM \"<!--\">", "<!-- -->"},
        SurroundedRow{"after the start of an instruction in the name of a type",
                      "<!DOCTYPE r SYSTEM '<?a'>", "<?a?>"},
        SurroundedRow{"after the start of a comment in the name of a notation",
                      "<!DOCTYPE r [<!NOTATION n SYSTEM '<!--'>]>", "<!-- -->"}));

struct ReasonRow {
  const char* name;
  std::function<void()> make;  // puts at kPath what cannot be used
  std::string reason;
};

void PrintTo(const ReasonRow& row, std::ostream* out) {
  *out << row.name;
}

std::function<void()> Text(const std::string& text) {
  return [text] { test::WriteFile(kPath, text); };
}

std::string Elements(int count, const std::string& element) {
  std::string text = "<r>\n";
  for (int i = 0; i < count; ++i) text += element;
  return text + "</r>";
}

class RefusedFile : public test::GatewayTest, public ::testing::WithParamInterface<ReasonRow> {};

TEST_P(RefusedFile, IsNamedOnOneLineWithTheReason) {
  GetParam().make();
  testing::internal::CaptureStderr();

  const auto document = util::XmlDocument::Read(kPath);

  EXPECT_EQ(testing::internal::GetCapturedStderr(), kPath + ": "s + GetParam().reason + "\n");
  EXPECT_FALSE(document);
}

INSTANTIATE_TEST_SUITE_P(
    Files, RefusedFile,
    ::testing::Values(
        ReasonRow{"missing", [] {}, "cannot be read: No such file or directory"},
        ReasonRow{"directory", [] { test::WriteFile(kPath + "/file"s, ""); },
                  "is not a regular file"},
        ReasonRow{"named pipe that nobody writes to",
                  [] {
                    test::WriteFile(kPath, "");
                    unlink(kPath);
                    ASSERT_EQ(mkfifo(kPath, 0600), 0);
                  },
                  "is not a regular file"},
        ReasonRow{"link that leads to itself",
                  [] {
                    test::WriteFile(kPath, "");
                    unlink(kPath);
                    ASSERT_EQ(symlink(kPath, kPath), 0);
                  },
                  "cannot be read: Too many levels of symbolic links"},
        ReasonRow{"one byte above the limit",
                  Text("<r>" + std::string(8388608 - 7 + 1, ' ') + "</r>"),
                  "is larger than 8388608 bytes"},
        ReasonRow{"empty", Text(""), "line 1: Document is empty"},
        ReasonRow{"crossed tags", Text("<r>\n<a><b></a></b></r>"),
                  "line 2: Opening and ending tag mismatch: b line 2 and a"},
        ReasonRow{"many errors", Text("<r>\n<!--<!--<!--<!--</r>"),
                  "line 2: Double hyphen within comment"},
        ReasonRow{"error whose text has two lines", Text("<r a=\"caf\xE9\"/>"),
                  "line 1: Input is not proper UTF-8, indicate encoding ! Bytes: 0xE9 0x22 0x2F "
                  "0x3E"},
        ReasonRow{
            "error whose text is long", Text("<r></" + std::string(1000, 'a') + ">"),
            ("line 1: Opening and ending tag mismatch: r line 1 and " + std::string(1000, 'a'))
                .substr(0, 300)},
        ReasonRow{"65 attributes", Text("<r>\n\n<!-- -->" + Attributes(65, "a") + "</r>"),
                  "line 3: has a tag with more than 64 attributes"},
        ReasonRow{"65 name spaces", Text(Elements(65, "<e xmlns:a='u'/>")),
                  "line 2: declares more than 64 name spaces"},
        ReasonRow{"too many elements", Text(Elements(262144, "<e/>")),
                  "line 2: has more than 262144 elements and attributes"},
        ReasonRow{"too many attributes", Text(Elements(131072, "<e a=''/>")),
                  "line 2: has more than 262144 elements and attributes"},
        ReasonRow{"entity", Text("<!DOCTYPE r [\n<!ENTITY x \"x\">]><r/>"),
                  "line 2: declares an entity"},
        ReasonRow{"unparsed entity",
                  Text("<!DOCTYPE r [<!NOTATION n SYSTEM 'n'><!ENTITY x SYSTEM 'x' NDATA n>]><r/>"),
                  "line 1: declares an entity"},
        ReasonRow{"attribute declaration", Text("<!DOCTYPE r [<!ATTLIST r a (b|c) \"b\">]>\n<r/>"),
                  "line 1: declares an attribute"}));

TEST_F(XmlRefusal, NamesAFileOnOneLineWhateverItsName) {
  testing::internal::CaptureStderr();

  EXPECT_FALSE(util::XmlDocument::Read("/tessel/two\nlines.xml"));

  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "/tessel/two lines.xml: cannot be read: No such file or directory\n");
}

TEST_F(XmlRefusal, SaysNothingOfWhatDoesNotSpoilADocument) {
  testing::internal::CaptureStderr();

  const bool isRead = static_cast<bool>(ReadText("<r><undeclared:e/></r>"));

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(isRead);
}

// Documents that try to bring another file or address into a value. %s stands for what they want.
struct ReachingRow {
  const char* name;
  std::string before;
  std::string after;
};

void PrintTo(const ReachingRow& row, std::ostream* out) {
  *out << row.name;
}

class Reaching : public test::GatewayTest, public ::testing::WithParamInterface<ReachingRow> {
 protected:
  static std::string TextFor(const std::string& wanted) {
    return GetParam().before + wanted + GetParam().after;
  }
};

TEST_P(Reaching, NeverBringsAFileOfTheDiskIntoAValue) {
  test::WriteFile("/tessel/secret", kSecret);
  test::WriteFile("/tessel/secret.dtd",
                  "<!ENTITY x \""s + kSecret + "\"><!ATTLIST r leak CDATA \"" + kSecret + "\">");

  for (const char* wanted :
       {"/tessel/secret", "file:///tessel/secret", "/tessel/secret.dtd", "../secret.dtd"}) {
    const auto document = ReadText(TextFor(wanted));

    EXPECT_THAT(AllValues(document), Not(HasSubstr(kSecret))) << wanted;
  }
}

TEST_P(Reaching, NeverConnectsToAnAddress) {
  test::RawServer server;
  server.Answer(test::HttpAnswer(200, kSecret)).Answer(test::HttpAnswer(200, kSecret));

  const auto document = ReadText(TextFor(server.Url("/entity")));

  EXPECT_THAT(server.Requests(), IsEmpty());
  EXPECT_THAT(AllValues(document), Not(HasSubstr(kSecret)));
}

TEST_P(Reaching, NeverReadsFromANamedPipe) {
  ASSERT_EQ(mkfifo("/tessel/pipe", 0600), 0);
  const util::Descriptor writer(open("/tessel/pipe", O_RDWR | O_CLOEXEC));
  ASSERT_GT(write(writer.Get(), kSecret, sizeof(kSecret)), 0);

  ReadText(TextFor("/tessel/pipe"));

  int left = 0;
  ASSERT_EQ(ioctl(writer.Get(), FIONREAD, &left), 0);
  EXPECT_EQ(left, static_cast<int>(sizeof(kSecret)));
}

INSTANTIATE_TEST_SUITE_P(
    Documents, Reaching,
    ::testing::Values(
        ReachingRow{"entity in text", "<!DOCTYPE r [<!ENTITY x SYSTEM \"",
                    "\">]><r><a>&x;</a></r>"},
        ReachingRow{"entity as elements", "<!DOCTYPE r [<!ENTITY x SYSTEM \"", "\">]><r>&x;</r>"},
        ReachingRow{"entity in an attribute", "<!DOCTYPE r [<!ENTITY x SYSTEM \"",
                    "\">]><r a=\"&x;\"/>"},
        ReachingRow{"public entity", "<!DOCTYPE r [<!ENTITY x PUBLIC \"p\" \"",
                    "\">]><r><a>&x;</a></r>"},
        ReachingRow{"parameter entity", "<!DOCTYPE r [<!ENTITY % x SYSTEM \"", "\"> %x;]><r/>"},
        ReachingRow{"type declaration", "<!DOCTYPE r SYSTEM \"", "\"><r/>"},
        ReachingRow{"type declaration and its entity", "<!DOCTYPE r SYSTEM \"",
                    "\"><r a=\"&x;\">&x;</r>"},
        ReachingRow{"public type declaration", "<!DOCTYPE r PUBLIC \"p\" \"", "\"><r/>"},
        ReachingRow{"inclusion",
                    "<r xmlns:xi=\"http://www.w3.org/2001/XInclude\"><xi:include href=\"",
                    "\"/></r>"},
        ReachingRow{"style sheet", "<?xml-stylesheet href=\"", "\"?><r/>"}));

TEST_F(XmlRefusal, NeverConnectsToAnAddressInPlaceOfAPath) {
  test::RawServer server;
  server.Answer(test::HttpAnswer(200, "<r/>"));

  const auto document = util::XmlDocument::Read(server.Url("/sys.xml").c_str());

  EXPECT_FALSE(document);
  EXPECT_THAT(server.Requests(), IsEmpty());
}

}  // namespace
