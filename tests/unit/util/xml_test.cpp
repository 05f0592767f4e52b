// Reading configuration files that are what they should be.
#include "util/xml.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/files.h"
#include "support/gateway.h"

namespace util {

static bool operator==(const XmlAttribute& left, const XmlAttribute& right) {
  return left.name == right.name && left.value == right.value;
}

static void PrintTo(const XmlAttribute& attribute, std::ostream* out) {
  *out << attribute.name << "=\"" << attribute.value << '"';
}

}  // namespace util

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;
using util::XmlAttribute;

constexpr char kPath[] = "/tessel/Config/file.xml";

util::XmlDocument ReadText(const std::string& text) {
  test::WriteFile(kPath, text);
  return util::XmlDocument::Read(kPath);
}

// The text of that many attributes.
std::string Pairs(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += " a" + std::to_string(i) + "=\"\"";
  return text;
}

// The root of the document that a text makes, which the fixture keeps.
class Xml : public test::GatewayTest {
 protected:
  util::XmlElement RootOf(const std::string& text) {
    m_document = ReadText(text);
    if (!m_document) throw std::runtime_error("not read: " + text);
    return *m_document.Root();
  }

 private:
  util::XmlDocument m_document;
};

std::vector<std::string> Names(const std::vector<util::XmlElement>& elements) {
  std::vector<std::string> names;
  for (const auto& element : elements) names.emplace_back(element.Name());
  return names;
}

TEST_F(Xml, GivesTheRootByItsName) {
  const auto root = RootOf("<?xml version=\"1.0\" encoding=\"UTF-8\"?><sysConfig/>");

  EXPECT_EQ(root.Name(), "sysConfig");
  EXPECT_TRUE(root.Is("sysConfig"));
  EXPECT_FALSE(root.Is("sysconfig"));
  EXPECT_FALSE(root.Is("sysConfi"));
  EXPECT_FALSE(root.Is("sysConfigs"));
}

TEST_F(Xml, GivesTheChildElementsInDocumentOrder) {
  const auto root = RootOf("<r><b/><a><inner/></a><b/></r>");

  EXPECT_THAT(Names(root.Children()), ElementsAre("b", "a", "b"));
}

TEST_F(Xml, TakesOnlyElementsForChildren) {
  const auto root = RootOf(
      "<r> text <!-- comment --> <a/> <?instruction?> <![CDATA[<c/>]]> more &amp; text <b/> </r>");

  EXPECT_THAT(Names(root.Children()), ElementsAre("a", "b"));
}

TEST_F(Xml, GivesNoChildrenWhereThereAreNone) {
  EXPECT_THAT(RootOf("<r>text</r>").Children(), IsEmpty());
}

TEST_F(Xml, GivesAnAttributeByItsName) {
  const auto root = RootOf("<r No=\"7\" Name='pump'/>");

  EXPECT_THAT(root.Attribute("No"), Optional(std::string("7")));
  EXPECT_THAT(root.Attribute("Name"), Optional(std::string("pump")));
}

TEST_F(Xml, TellsAnEmptyAttributeFromAMissingOne) {
  const auto root = RootOf("<r Empty=\"\"/>");

  EXPECT_THAT(root.Attribute("Empty"), Optional(std::string()));
  EXPECT_EQ(root.Attribute("Missing"), std::nullopt);
  EXPECT_EQ(root.Attribute("empty"), std::nullopt);
}

TEST_F(Xml, GivesTheAttributesInDocumentOrder) {
  const auto root = RootOf("<r Name=\"Level\" Id=\"4\" EUUnits=\"\"/>");

  EXPECT_THAT(root.Attributes(), ElementsAre(XmlAttribute{"Name", "Level"}, XmlAttribute{"Id", "4"},
                                             XmlAttribute{"EUUnits", ""}));
}

TEST_F(Xml, GivesNoAttributesWhereThereAreNone) {
  EXPECT_THAT(RootOf("<r/>").Attributes(), IsEmpty());
}

TEST_F(Xml, ResolvesPredefinedEntitiesAndCharacterNumbers) {
  const auto root = RootOf("<r a=\"&lt;&amp;&quot;&apos;&gt;&#65;&#x6CF5;\"/>");

  EXPECT_THAT(root.Attribute("a"), Optional(std::string("<&\"'>A泵")));
  EXPECT_THAT(root.Attributes(), ElementsAre(XmlAttribute{"a", "<&\"'>A泵"}));
}

TEST_F(Xml, KeepsChineseTextAsUtf8) {
  EXPECT_THAT(RootOf("<r a=\"一号站\"/>").Attribute("a"), Optional(std::string("一号站")));
}

TEST_F(Xml, ReadsUtf8WhateverTheFileClaims) {
  const auto root = RootOf("<?xml version=\"1.0\" encoding=\"GBK\"?><r a=\"一号站\"/>");

  EXPECT_THAT(root.Attribute("a"), Optional(std::string("一号站")));
}

TEST_F(Xml, ReadsAFileBehindAByteOrderMark) {
  const auto root =
      RootOf("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?><r a=\"一号站\"/>");

  EXPECT_THAT(root.Attribute("a"), Optional(std::string("一号站")));
}

TEST_F(Xml, TakesLineBreaksInsideAValueForBlanks) {
  EXPECT_THAT(RootOf("<r a=\"1\n2\t3\"/>").Attribute("a"), Optional(std::string("1 2 3")));
}

TEST_F(Xml, FindsAnAttributeByItsNameWithoutThePrefix) {
  const auto root = RootOf("<r xmlns:x=\"urn:x\" x:No=\"1\" No=\"2\"/>");

  EXPECT_THAT(root.Attribute("No"), Optional(std::string("1")));
}

TEST_F(Xml, ReadsAValueOfAnyLengthThatFitsTheFile) {
  const std::string value(1'000'000, 'v');

  EXPECT_THAT(RootOf("<r a=\"" + value + "\"/>").Attribute("a"), Optional(value));
}

TEST_F(Xml, ReadsAFileOfExactlyTheLimit) {
  const std::string frame = "<r></r>";
  const std::string filling(util::kXmlFileLimitBytes - frame.size(), ' ');

  EXPECT_TRUE(ReadText("<r>" + filling + "</r>"));
}

TEST_F(Xml, ReadsAnElementWithAsManyAttributesAsTheLimit) {
  EXPECT_EQ(RootOf("<r" + Pairs(64) + "/>").Attributes().size(), 64U);
}

TEST_F(Xml, CountsTheAttributesOfEachElementForItself) {
  std::string elements;
  for (int i = 0; i < 200; ++i) elements += "<e a='' b=''/>";

  EXPECT_EQ(RootOf("<r>" + elements + "</r>").Children().size(), 200U);
}

TEST_F(Xml, TakesAttributesInACommentForNone) {
  EXPECT_TRUE(ReadText("<!--" + Pairs(100) + "--><r><!--" + Pairs(100) + "--></r>"));
}

TEST_F(Xml, TakesAttributesInACharacterSectionForNone) {
  EXPECT_TRUE(ReadText("<r><![CDATA[" + Pairs(100) + "]]></r>"));
}

TEST_F(Xml, TakesAttributesInAnInstructionForNone) {
  EXPECT_TRUE(ReadText("<?note" + Pairs(100) + "?><r/>"));
}

TEST_F(Xml, TakesAttributesInTextForNone) {
  EXPECT_TRUE(ReadText("<r>" + Pairs(100) + "</r>"));
}

TEST_F(Xml, TakesAttributesInAValueForNone) {
  EXPECT_TRUE(ReadText("<r a='" + Pairs(100) + "'/>"));
}

TEST_F(Xml, TakesTagsForNoneUntilTheCommentEnds) {
  EXPECT_TRUE(ReadText("<!--> <e" + Pairs(100) + "/> -> --><r/>"));
}

TEST_F(Xml, TakesTagsForNoneUntilTheCharacterSectionEnds) {
  EXPECT_TRUE(ReadText("<r><![CDATA[ ]] ]> <e" + Pairs(100) + "/> ]]></r>"));
}

TEST_F(Xml, TakesTagsForNoneUntilTheInstructionEnds) {
  EXPECT_TRUE(ReadText("<?note ? > <e" + Pairs(100) + "/> ?><r/>"));
}

TEST_F(Xml, ReadsElementsNestedAHundredDeep) {
  std::string open;
  std::string close;
  for (int i = 0; i < 100; ++i) {
    open += "<e>";
    close += "</e>";
  }

  EXPECT_TRUE(ReadText(open + close));
}

TEST_F(Xml, AcceptsATypeDeclarationThatDeclaresNothing) {
  EXPECT_EQ(RootOf("<!DOCTYPE sysConfig><sysConfig/>").Name(), "sysConfig");
}

TEST_F(Xml, ReadsAFileBehindALink) {
  test::WriteFile("/tessel/real.xml", "<r/>");
  ASSERT_EQ(symlink("/tessel/real.xml", "/tessel/link.xml"), 0);

  EXPECT_TRUE(util::XmlDocument::Read("/tessel/link.xml"));
}

class XmlPath : public test::GatewayTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(XmlPath, IsTakenAsItStands) {
  test::WriteFile(GetParam(), "<r/>");

  EXPECT_TRUE(util::XmlDocument::Read(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Paths, XmlPath,
                         ::testing::Values("/tessel/two words.xml", "/tessel/一号泵.xml",
                                           "/tessel/%41.xml", "/tessel/a&b#c?d.xml",
                                           "/tessel/colon:file.xml", "/tessel/../tessel/up.xml"));

TEST_F(Xml, ReadsAPathRelativeToTheWorkingDirectory) {
  test::WriteFile("/tessel/devices/pump.xml", "<r/>");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path("/tessel");

  const auto document = util::XmlDocument::Read("devices/pump.xml");

  std::filesystem::current_path(before);
  EXPECT_TRUE(document);
}

TEST_F(Xml, HoldsNoDocumentUntilOneIsRead) {
  const util::XmlDocument document;

  EXPECT_FALSE(document);
}

TEST_F(Xml, FreesADocumentOnce) {
  auto document = ReadText("<r/>");
  ASSERT_TRUE(document);

  EXPECT_TRUE(document.Free());

  EXPECT_FALSE(document);
  EXPECT_FALSE(document.Free());
}

TEST_F(Xml, HandsADocumentOn) {
  auto first = ReadText("<first/>");

  const util::XmlDocument second = std::move(first);

  EXPECT_EQ(second.Root()->Name(), "first");
}

TEST_F(Xml, ReadsTheNextFileAfterOneThatWasRefused) {
  ASSERT_FALSE(ReadText("<r>"));

  EXPECT_TRUE(ReadText("<r/>"));
}

}  // namespace
