// Configuration files that are small on the disk and try to be huge in memory, or to take for ever.
#include <gmock/gmock.h>

#include <cstdio>
#include <ostream>
#include <stdexcept>
#include <string>

#include "cost.h"
#include "support/files.h"
#include "support/gateway.h"
#include "util/xml.h"

namespace {

constexpr char kPath[] = "/tessel/Config/file.xml";
constexpr unsigned kLimitSeconds = 20;
constexpr std::size_t kRoom = 8'000'000;  // of the 8,388,608 bytes that a file may have

std::string Repeat(const std::string& text, std::size_t count) {
  std::string whole;
  whole.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) whole += text;
  return whole;
}

// Text that fills a file's room.
std::string Filled(const std::string& text) {
  return Repeat(text, kRoom / text.size());
}

template <typename Part>
std::string Numbered(std::size_t count, Part part) {
  std::string whole;
  for (std::size_t i = 0; i < count; ++i) whole += part(std::to_string(i));
  return whole;
}

// Eleven levels of entities, each ten times the one before: 80 GB of text in 800 bytes.
std::string Laughs() {
  std::string text = "<!DOCTYPE r [<!ENTITY l0 \"laughing\">";
  for (int level = 1; level <= 10; ++level) {
    const std::string before = "&l" + std::to_string(level - 1) + ";";
    text += "<!ENTITY l" + std::to_string(level) + " \"" + Repeat(before, 10) + "\">";
  }
  return text + "]>";
}

// One entity of `bytes`, for a document that names it as often as it can.
std::string OneEntity(std::size_t bytes) {
  return "<!DOCTYPE r [<!ENTITY x \"" + std::string(bytes, 'x') + "\">]>";
}

std::string Attribute(const std::string& value) {
  return "<r a=\"" + value + "\"/>";
}

std::string Content(const std::string& text) {
  return "<r>" + text + "</r>";
}

struct CostRow {
  const char* name;
  std::string (*make)();
};

void PrintTo(const CostRow& row, std::ostream* out) {
  *out << row.name;
}

// Reads the file and takes every value of its first two levels, as the service would.
bool ReadWhole() {
  const auto document = util::XmlDocument::Read(kPath);
  if (!document) return false;
  document.Root()->Attributes();
  document.Root()->Attribute("a");
  for (const auto& child : document.Root()->Children()) child.Attributes();
  return true;
}

class XmlCost : public test::GatewayTest, public ::testing::WithParamInterface<CostRow> {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    test::WriteFile(kPath, GetParam().make());
    ASSERT_LE(test::ReadFile(kPath).size(), util::kXmlFileLimitBytes);
  }
};

class XmlBomb : public XmlCost {};

TEST_P(XmlBomb, IsRefusedBeforeItGoesOff) {
  constexpr long kRefusalMilliseconds = 10'000;
  constexpr long kRefusalKibibytes = 32 * 1024 * test::kInstrumentation;  // four times the file

  const auto cost = test::MeasureCost(
      [] {
        if (ReadWhole()) throw std::runtime_error("accepted");
      },
      kLimitSeconds);

  std::printf("%s: %ld ms, %ld KiB\n", GetParam().name, cost.processorMilliseconds,
              cost.peakKibibytes);
  EXPECT_TRUE(cost.isDone) << "accepted, crashed or stopped";
  EXPECT_LT(cost.processorMilliseconds, kRefusalMilliseconds);
  EXPECT_LT(cost.peakKibibytes, kRefusalKibibytes);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, XmlBomb,
    ::testing::Values(
        CostRow{"billion laughs in an attribute", [] { return Laughs() + Attribute("&l10;"); }},
        CostRow{"billion laughs in text", [] { return Laughs() + Content("&l10;"); }},
        CostRow{"billion laughs in every attribute",
                [] { return Laughs() + Content(Repeat("<e a=\"&l10;\"/>", 1000)); }},
        CostRow{"billion laughs that nobody asks for", [] { return Laughs() + "<r/>"; }},
        CostRow{"laughs of parameter entities",
                [] {
                  return std::string("<!DOCTYPE r [<!ENTITY % a '<!ENTITY x \"") +
                         std::string(10'000, 'x') + "\">'>" + Repeat("%a;", 100'000) +
                         "]><r a=\"&x;\"/>";
                }},
        CostRow{"entities that name each other",
                [] {
                  return "<!DOCTYPE r [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]>" + Attribute("&a;");
                }},
        CostRow{"one long entity, often, in an attribute",
                [] { return OneEntity(100'000) + Attribute(Repeat("&x;", 600'000)); }},
        CostRow{"one long entity, often, in text",
                [] { return OneEntity(100'000) + Content(Repeat("&x;", 600'000)); }},
        CostRow{"one short entity, often, in an attribute",
                [] { return OneEntity(999) + Attribute(Repeat("&x;", 600'000)); }},
        CostRow{"one short entity, often, in many attributes",
                [] {
                  return OneEntity(999) +
                         Content(Repeat("<e a=\"" + Repeat("&x;", 9'000) + "\"/>", 70));
                }},
        CostRow{"a long default of an attribute",
                [] {
                  return "<!DOCTYPE r [<!ATTLIST e a CDATA \"" + std::string(1'000'000, 'x') +
                         "\">]>" + Content(Repeat("<e/>", 200'000));
                }},
        CostRow{"many defaults of attributes, each listed for itself",
                [] {
                  return "<!DOCTYPE r [" +
                         Numbered(2'000,
                                  [](const std::string& i) {
                                    return "<!ATTLIST e a" + i + " CDATA \"v\">";
                                  }) +
                         "]>" + Content(Repeat("<e/>", 400'000));
                }},
        CostRow{"many defaults of attributes in one list",
                [] {
                  return "<!DOCTYPE r [<!ATTLIST e" +
                         Numbered(2'000,
                                  [](const std::string& i) { return " a" + i + " (v|w) \"v\""; }) +
                         ">]>" + Content(Repeat("<e/>", 400'000));
                }},
        CostRow{"an element of many attributes",
                [] {
                  return "<r" +
                         Numbered(150'000,
                                  [](const std::string& i) { return " a" + i + "=\"\""; }) +
                         "/>";
                }},
        CostRow{"an element of many attributes after the start of a comment in a value",
                [] {
                  return "<r a=\"<!--\"" +
                         Numbered(150'000,
                                  [](const std::string& i) { return " a" + i + "=\"\""; }) +
                         "/><!-- -->";
                }},
        CostRow{"comments without an end", [] { return Content(Filled("<!--")); }},
        CostRow{"instructions without an end", [] { return Content(Filled("<?a ")); }},
        CostRow{"an element of many name spaces",
                [] {
                  return "<r" +
                         Numbered(50'000,
                                  [](const std::string& i) { return " xmlns:a" + i + "='u'"; }) +
                         ">" + Repeat("<a0:e/>", 120'000) + "</r>";
                }},
        CostRow{"name spaces around many elements",
                [] {
                  const auto spaces = [](const std::string& depth) {
                    return "<e" +
                           Numbered(64,
                                    [&depth](const std::string& i) {
                                      return " xmlns:a" + depth + "_" + i + "='u'";
                                    }) +
                           ">";
                  };
                  return Numbered(200, spaces) + Repeat("<a0_0:e/>", 250'000) + Repeat("</e>", 200);
                }},
        CostRow{"a comment full of errors", [] { return "<r>" + Filled("<!--"); }},
        CostRow{"a value without an end", [] { return "<r a=\"" + Filled("A"); }},
        CostRow{"a name without an end", [] { return "<" + Filled("r"); }},
        CostRow{"only opening tags", [] { return Filled("<e>"); }},
        CostRow{"a content model that nests", [] {
                  return "<!DOCTYPE r [<!ELEMENT r " + Repeat("(", 900'000) + "a" +
                         Repeat(")", 900'000) + ">]><r/>";
                }}));

class XmlBulk : public XmlCost {};

TEST_P(XmlBulk, IsReadWithinBoundedTimeAndMemory) {
  constexpr long kReadingMilliseconds = 15'000;
  constexpr long kReadingKibibytes = 128 * 1024 * test::kInstrumentation;

  const auto cost = test::MeasureCost(
      [] {
        if (!ReadWhole()) throw std::runtime_error("refused");
      },
      kLimitSeconds);

  std::printf("%s: %ld ms, %ld KiB\n", GetParam().name, cost.processorMilliseconds,
              cost.peakKibibytes);
  EXPECT_TRUE(cost.isDone) << "refused, crashed or stopped";
  EXPECT_LT(cost.processorMilliseconds, kReadingMilliseconds);
  EXPECT_LT(cost.peakKibibytes, kReadingKibibytes);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, XmlBulk,
    ::testing::Values(
        CostRow{"as many elements as are taken",
                [] { return Content(Repeat("<e/>", util::kXmlNodesLimit - 1)); }},
        CostRow{
            "as many attributes as are taken",
            [] { return Content(Repeat("<e a='' b='' c=''/>", util::kXmlNodesLimit / 4 - 1)); }},
        CostRow{"as many points as are foreseen, with long texts",
                [] {
                  return Content(Repeat("<Node Id=\"4095\" Name=\"" + std::string(170, 'n') +
                                            "\" EUUnits=\"" + std::string(170, 'u') + "\"/>\n",
                                        20'480));
                }},
        CostRow{"as many pieces of text as fit", [] { return Content(Filled("A<!---->")); }},
        CostRow{"as many instructions as fit", [] { return Content(Filled("<?a?>")); }},
        CostRow{"as many character numbers as fit", [] { return Attribute(Filled("&#65;")); }},
        CostRow{"as many undeclared prefixes as are taken",
                [] { return Content(Repeat("<x:e/>", util::kXmlNodesLimit - 1)); }},
        CostRow{"as many element declarations as fit", [] {
                  return "<!DOCTYPE r [" +
                         Numbered(
                             65'000,
                             [](const std::string& i) { return "<!ELEMENT b" + i + " (a|b|c)>"; }) +
                         "]><r/>";
                }}));

}  // namespace
