// XML files that are read.
#include "util/xml.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/files.h"
#include "support/gateway.h"

namespace {

using namespace testing;

constexpr char kPath[] = "/tessel/Config/file.xml";

class Xml : public test::GatewayTest {
 protected:
  // The root of the document that the text makes. The fixture holds the document.
  util::XmlElement RootOf(const std::string& text) {
    test::WriteFile(kPath, text);
    document = util::XmlDocument::Read(kPath);
    if (!document) throw std::runtime_error("refused: " + text.substr(0, 100));
    return *document.Root();
  }
  std::string ValueIn(const std::string& text) { return RootOf(text).Attribute("a").value_or(""); }

  util::XmlDocument document;
};

TEST_F(Xml, GivesTheRootByItsName) {
  const auto root = RootOf("<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE s><sysConfig/>");

  EXPECT_TRUE(root.Is("sysConfig"));
  EXPECT_FALSE(root.Is("sysconfig"));
  EXPECT_FALSE(root.Is("sysConfigs"));
}

TEST_F(Xml, GivesOnlyElementsAsChildrenInDocumentOrder) {
  const auto root = RootOf(
      "<r> text <!-- comment --> <b/> <?instruction?> <![CDATA[<c/>]]> &amp; <a><d/></a> <b/> "
      "</r>");

  std::vector<std::string> names;
  for (const auto& element : root.Children()) names.emplace_back(element.Name());

  EXPECT_THAT(names, ElementsAre("b", "a", "b"));
  EXPECT_THAT(root.Children()[0].Children(), IsEmpty());
}

TEST_F(Xml, GivesAnAttributeByItsName) {
  const auto root = RootOf("<r No=\"7\" Empty='' xmlns:x='u' x:Name='1' Name='2'/>");

  EXPECT_EQ(root.Attribute("No"), "7");
  EXPECT_EQ(root.Attribute("Empty"), "");
  EXPECT_EQ(root.Attribute("Name"), "1") << "the prefix does not count";
  EXPECT_EQ(root.Attribute("no"), std::nullopt);
}

TEST_F(Xml, GivesTheAttributesInDocumentOrder) {
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const auto& [name, value] : RootOf("<r Name='a &lt; 4' Id='4' EU=''/>").Attributes()) {
    pairs.emplace_back(name, value);
  }

  EXPECT_THAT(pairs, ElementsAre(Pair("Name", "a < 4"), Pair("Id", "4"), Pair("EU", "")));
  EXPECT_THAT(RootOf("<r/>").Attributes(), IsEmpty());
}

TEST_F(Xml, DecodesAValueAsUtf8WhateverTheFileClaims) {
  EXPECT_EQ(ValueIn("<r a='&lt;&amp;&quot;&apos;&gt;&#65;&#x6CF5;1\n2\t3'/>"), "<&\"'>A泵1 2 3");
  EXPECT_EQ(ValueIn("<?xml version=\"1.0\" encoding=\"GBK\"?><r a=\"一号站\"/>"), "一号站");
  EXPECT_EQ(ValueIn("\xEF\xBB\xBF<r a=\"一号站\"/>"), "一号站") << "after a byte order mark";
}

TEST_F(Xml, ReadsFilesUpToTheLimits) {
  const std::string value(1'000'000, 'v');
  EXPECT_EQ(ValueIn("<r a=\"" + value + "\"/>"), value);

  RootOf("<r>" + std::string(util::kXmlFileLimitBytes - 7, ' ') + "</r>");

  std::string nested = "<e/>";
  for (int i = 1; i < 100; ++i) nested = "<e>" + nested + "</e>";
  RootOf(nested);

  std::string spaces;
  for (int i = 0; i < util::kXmlSpacesLimit; ++i) spaces += "<e xmlns:a='u'/>";
  RootOf("<r>" + spaces + "</r>");
}

TEST_F(Xml, TakesAPathAsItStands) {
  test::WriteFile("/tessel/%41 泵&b#c?d:e.xml", "<r/>");
  ASSERT_EQ(symlink("/tessel/%41 泵&b#c?d:e.xml", "/tessel/link.xml"), 0);

  EXPECT_TRUE(util::XmlDocument::Read("/tessel/../tessel/link.xml"));
}

TEST_F(Xml, FreesADocumentOnce) {
  EXPECT_FALSE(document.Free());
  RootOf("<r/>");

  EXPECT_TRUE(document.Free());
  EXPECT_FALSE(document);
}

}  // namespace
