#include "util/xmltags.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>

#include "support/files.h"
#include "support/gateway.h"
#include "util/xml.h"

namespace {

std::string Attributes(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += " a" + std::to_string(i) + " = 'u'";
  return text;
}

class OverloadedTag : public test::GatewayTest {};

TEST_F(OverloadedTag, GivesTheFirstWithMoreThan64Attributes) {
  const std::string most = "<r" + Attributes(64) + ">";
  const std::string more = "<e" + Attributes(65) + "/>";

  EXPECT_EQ(util::OverloadedTag(most + most), std::nullopt);
  EXPECT_EQ(util::OverloadedTag(most + more + more), most.size());
}

// Attributes that no tag has: none of them may count.
TEST_F(OverloadedTag, CountsOnlyAttributesOfTags) {
  const std::string many = Attributes(100);
  for (const auto& text :
       {"<!--" + many + "--><r><!--" + many + "--></r>", "<r><![CDATA[" + many + "]]></r>",
        "<?note" + many + "?><r/>", "<r>" + many + "</r>", "<r a=\"" + many + "\"/>",
        "<!--> <e" + many + "/> -> --><r/>", "<r><![CDATA[ ]] ]> <e" + many + "/> ]]></r>",
        "<?note ? > <e" + many + "/> ?><r/>"}) {
    EXPECT_EQ(util::OverloadedTag(text), std::nullopt) << text.substr(0, 30);
  }
}

// Well-formed text before and after a tag with many attributes must not hide the tag.
TEST_F(OverloadedTag, SeesTagsAsTheParserDoes) {
  const auto isRead = [](const std::string& text) {
    test::WriteFile("/tessel/file.xml", text);
    return static_cast<bool>(util::XmlDocument::Read("/tessel/file.xml"));
  };

  for (const auto& [before, after] : {std::pair{"<!-- it's a='1' -->", ""},
                                      {"<!---->", "<!-- -->"},
                                      {"<!-->-->", "<!-- -->"},
                                      {"<?a it's b='1'?>", "<?c?>"},
                                      {"<e><![CDATA[it's a='1']]>", "</e>"},
                                      {"<?a <!--?>", "<!-- -->"},
                                      {"<e><![CDATA[<!--]]>", "<!-- --></e>"},
                                      {"<!-- <?a -->", "<?b?>"},
                                      {"<e><!-- <![CDATA[ -->", "<![CDATA[]]></e>"},
                                      {"<e>it's 5\" > 4", "'\"</e>"},
                                      {"<e a='>' b=\"'>\">", "</e>"},
                                      {"<!DOCTYPE r SYSTEM \"<!--\">", "<!-- -->"},
                                      {"<!DOCTYPE r SYSTEM '<?a'>", "<?a?>"},
                                      {"<!DOCTYPE r [<!NOTATION n SYSTEM '<!--'>]>", "<!-- -->"}}) {
    EXPECT_FALSE(isRead(before + ("<r" + Attributes(65) + "/>") + after)) << before;
    EXPECT_TRUE(isRead(before + ("<r" + Attributes(64) + "/>") + after)) << before;
  }
}

}  // namespace
