// Configuration files that cannot be used: what the loader returns and reports.
#include <gmock/gmock.h>

#include <ostream>
#include <vector>

#include "config/channelset.h"
#include "config/snset.h"
#include "config/sysset.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "util/text.h"

namespace {

using ::testing::StartsWith;

constexpr char kPath[] = "/tessel/file.xml";

template <typename Settings>
bool IsHeld(const Settings& settings) {
  return settings.IsOpen();
}
bool IsHeld(const CChannelSet& catalogue) {
  return catalogue.IsOpen() == 0;
}

template <typename Settings>
int Open(const char* path) {
  Settings settings;
  const int result = settings.Open(path);
  EXPECT_FALSE(IsHeld(settings));
  return result;
}

template <typename Settings>
int OpenText(const char* text) {
  test::WriteFile(kPath, text);
  return Open<Settings>(kPath);
}

// Opens a document that is in order, then loads it without its root.
template <typename Settings>
int LoadWithoutRoot(const char* text) {
  test::WriteFile(kPath, text);
  Settings settings;
  EXPECT_EQ(settings.Open(kPath), 0);
  test::FailCalls(test::Call::kXmlRoot);
  const int result = settings.LoadNodeFromXml();
  EXPECT_FALSE(IsHeld(settings));
  return result;
}

template <typename Settings>
int LoadNothing(const char* /*text*/) {
  return Settings().LoadNodeFromXml();
}

int LoadDefinition(const char* text) {
  test::WriteFile(kPath, text);
  ST_DEV_ATTR device{};
  util::CopyText(device.Name, kPath);
  return CChannelSet().LoadDevPointAttr(device);
}

int LoadDefinitionWithoutRoot(const char* text) {
  test::FailCalls(test::Call::kXmlRoot);
  return LoadDefinition(text);
}

struct FailureRow {
  const char* name;
  int (*act)(const char*);
  const char* argument;
  int result;
  const char* message;      // of the one log record, an ERROR
  const char* reason = "";  // the start of the line on standard error
};

void PrintTo(const FailureRow& row, std::ostream* out) {
  *out << row.name;
}

class UnusableFile : public test::GatewayTest, public ::testing::WithParamInterface<FailureRow> {};

TEST_P(UnusableFile, GivesTheResultAndTheMessage) {
  testing::internal::CaptureStderr();

  EXPECT_EQ(GetParam().act(GetParam().argument), GetParam().result);

  EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith(GetParam().reason));
  EXPECT_EQ(test::TextLog(), (std::vector<test::LogRecord>{{"ERROR", GetParam().message}}));
}

INSTANTIATE_TEST_SUITE_P(
    Table, UnusableFile,
    ::testing::ValuesIn<std::vector<FailureRow>>(
        {{"settings: missing", Open<CSysSet>, "/tessel/none", -1, "parsed /tessel/none failed",
          "/tessel/none: "},
         {"settings: no document", LoadNothing<CSysSet>, "", -1, "SysConfigXml document is null"},
         {"settings: no root", LoadWithoutRoot<CSysSet>, "<sysConfig/>", -1,
          "SysConfigXml document,Empty document."},
         {"settings: other root", OpenText<CSysSet>, "<other/>", 0,
          "SysConfigXml document,root is not sysConfig.",
          "/tessel/file.xml: line 1: the root is not sysConfig\n"},
         {"identity: missing", Open<CsnSet>, "/tessel/none", -1,
          "parse Document /tessel/none failed", "/tessel/none: "},
         {"identity: no document", LoadNothing<CsnSet>, "", -1, "parse SN Document failed"},
         {"identity: no root", LoadWithoutRoot<CsnSet>,
          "<snConfig><model model=''/><sn sn='1'/></snConfig>", -1,
          "parse SN Document failed,empty document."},
         {"identity: other root", OpenText<CsnSet>, "\n<other/>", -1,
          "parse SN Document failed,wrong type,root node is not snConfig",
          "/tessel/file.xml: line 2: the root is not snConfig\n"},
         {"identity: no values", OpenText<CsnSet>, "<snConfig/>", -1,
          "parse SN Document failed,no usable model or sn",
          "/tessel/file.xml: has no usable model or sn\n"},
         {"template: missing", Open<CChannelSet>, "/tessel/none", -1,
          "Document /tessel/none parsed failed.", "/tessel/none: "},
         {"template: no document", LoadNothing<CChannelSet>, "", -1,
          "[LoadChannelParamFromXml]: Xml document is null"},
         {"template: no root", LoadWithoutRoot<CChannelSet>, "<ChannelConfig/>", -1,
          "[LoadChannelParamFromXml]: Empty document."},
         {"template: other root", OpenText<CChannelSet>, "<other/>", -1,
          "[LoadChannelParamFromXml]: Root node is not 'ChannelConfig'",
          "/tessel/file.xml: line 1: the root is not ChannelConfig\n"},
         {"definition: malformed", LoadDefinition, "", -1,
          "[LoadDevPointAttr]: parsed Parse failed", "/tessel/file.xml: "},
         {"definition: no root", LoadDefinitionWithoutRoot, "<DevConfig/>", -1,
          "[LoadDevPointAttr]: empty document"},
         {"definition: other root", LoadDefinition, "<other/>", -1,
          "[LoadDevPointAttr]:  wrong type, root node != DevConfig",
          "/tessel/file.xml: line 1: the root is not DevConfig\n"}}));

}  // namespace
