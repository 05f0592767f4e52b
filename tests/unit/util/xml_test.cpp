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

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

constexpr char kPath[] = "/tessel/Config/file.xml";

class Xml : public test::GatewayTest {
 protected:
  // The root of the document that the text makes. The fixture holds the document.
  util::XmlElement RootOf(const std::string& text) {
    test::WriteFile(kPath, text);
    m_document = util::XmlDocument::Read(kPath);
    if (!m_document) throw std::runtime_error("refused: " + text.substr(0, 100));
    return *m_document.Root();
  }
  std::string ValueIn(const std::string& text) { return RootOf(text).Attribute("a").value_or(""); }

 private:
  util::XmlDocument m_document;
};

std::vector<std::string> NamesOf(const std::vector<util::XmlElement>& elements) {
  std::vector<std::string> names;
  for (const auto& element : elements) names.emplace_back(element.Name());
  return names;
}

std::vector<std::pair<std::string, std::string>> Pairs(const util::XmlElement& element) {
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const auto& [name, value] : element.Attributes()) pairs.emplace_back(name, value);
  return pairs;
}

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

  EXPECT_THAT(NamesOf(root.Children()), ElementsAre("b", "a", "b"));
  EXPECT_THAT(root.Children()[0].Children(), IsEmpty());
}

TEST_F(Xml, GivesAnAttributeByItsName) {
  const auto root = RootOf("<r No=\"7\" Empty='' xmlns:x='u' x:Name='1' Name='2'/>");

  EXPECT_THAT(root.Attribute("No"), Optional(std::string("7")));
  EXPECT_THAT(root.Attribute("Empty"), Optional(std::string()));
  EXPECT_THAT(root.Attribute("Name"), Optional(std::string("1"))) << "the prefix does not count";
  EXPECT_EQ(root.Attribute("no"), std::nullopt);
}

TEST_F(Xml, GivesTheAttributesInDocumentOrder) {
  using Pair = std::pair<std::string, std::string>;

  EXPECT_THAT(Pairs(RootOf("<r Name='Level &lt; 4' Id='4' EUUnits=''/>")),
              ElementsAre(Pair("Name", "Level < 4"), Pair("Id", "4"), Pair("EUUnits", "")));
  EXPECT_THAT(Pairs(RootOf("<r/>")), IsEmpty());
}

TEST_F(Xml, DecodesAValue) {
  EXPECT_EQ(ValueIn("<r a='&lt;&amp;&quot;&apos;&gt;&#65;&#x6CF5;1\n2\t3'/>"), "<&\"'>A泵1 2 3");
}

TEST_F(Xml, ReadsUtf8WhateverTheFileClaims) {
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
  util::XmlDocument none;
  EXPECT_FALSE(none);
  EXPECT_FALSE(none.Free());

  test::WriteFile(kPath, "<r/>");
  auto document = util::XmlDocument::Read(kPath);
  EXPECT_TRUE(document.Free());
  EXPECT_FALSE(document);
}

}  // namespace
