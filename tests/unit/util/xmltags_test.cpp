#include "util/xmltags.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/gateway.h"
#include "util/xml.h"

namespace {

std::string Attributes(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += " a" + std::to_string(i) + " = 'u'";
  return text;
}

TEST(OverloadedTag, IsTheFirstWithMoreThan64Attributes) {
  const std::string most = "<r" + Attributes(64) + ">";
  const std::string more = "<e" + Attributes(65) + "/>";

  EXPECT_EQ(util::OverloadedTag(most + most), std::nullopt);
  EXPECT_EQ(util::OverloadedTag(most + more + more), most.size());
}

// Attributes that no tag has: none of them may count.
TEST(OverloadedTag, CountsOnlyAttributesOfTags) {
  const std::string many = Attributes(100);
  for (const auto& text : {
           "<!--" + many + "--><r><!--" + many + "--></r>",
           "<r><![CDATA[" + many + "]]></r>",
           "<?note" + many + "?><r/>",
           "<r>" + many + "</r>",
           "<r a=\"" + many + "\"/>",
           "<!--> <e" + many + "/> -> --><r/>",
           "<r><![CDATA[ ]] ]> <e" + many + "/> ]]></r>",
           "<?note ? > <e" + many + "/> ?><r/>",
       }) {
    EXPECT_EQ(util::OverloadedTag(text), std::nullopt) << text.substr(0, 30);
  }
}

// A well-formed text around an element with many attributes, which must not hide it.
struct SurroundedRow {
  const char* name;
  std::string before;
  std::string after;
};

void PrintTo(const SurroundedRow& row, std::ostream* out) {
  *out << row.name;
}

class SurroundedTag : public test::GatewayTest,
                      public ::testing::WithParamInterface<SurroundedRow> {
 protected:
  static bool IsRead(int attributes) {
    test::WriteFile("/tessel/file.xml",
                    GetParam().before + "<r" + Attributes(attributes) + "/>" + GetParam().after);
    return static_cast<bool>(util::XmlDocument::Read("/tessel/file.xml"));
  }
};

TEST_P(SurroundedTag, IsSeenAsTheParserSeesIt) {
  EXPECT_FALSE(IsRead(65));
  EXPECT_TRUE(IsRead(64));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, SurroundedTag,
    ::testing::ValuesIn<std::vector<SurroundedRow>>(
        {{"comment", "<!-- it's a='1' -->", ""},
         {"short comments", "<!---->", "<!-- -->"},
         {"end of a comment at its start", "<!-->-->", "<!-- -->"},
         {"instruction", "<?a it's b='1'?>", "<?c?>"},
         {"character section", "<e><![CDATA[it's a='1']]>", "</e>"},
         {"comment start in an instruction", "<?a <!--?>", "<!-- -->"},
         {"comment start in a character section", "<e><![CDATA[<!--]]>", "<!-- --></e>"},
         {"instruction start in a comment", "<!-- <?a -->", "<?b?>"},
         {"section start in a comment", "<e><!-- <![CDATA[ -->", "<![CDATA[]]></e>"},
         {"quotes in text", "<e>it's 5\" > 4", "'\"</e>"},
         {"tag end in a value", "<e a='>' b=\"'>\">", "</e>"},
         {"comment start in a type", "<!DOCTYPE r SYSTEM \"<!--\">", "<!-- -->"},
         {"instruction start in a type", "<!DOCTYPE r SYSTEM '<?a'>", "<?a?>"},
         {"comment start in a notation", "<!DOCTYPE r [<!NOTATION n SYSTEM '<!--'>]>",
          "<!-- -->"}}));

}  // namespace
