// The gateway's identity.
#include "config/snset.h"

#include <string>
#include <vector>

#include "support/configs.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"
#include "util/paths.h"

namespace {

using Identity = test::GatewayTest;
using test::LogRecord;

std::uint32_t Numeric(const CsnSet& identity) {
  std::uint32_t numeric = 0;
  identity.GetSn(&numeric);
  return numeric;
}

int OpenText(CsnSet& identity, const std::string& text) {
  test::WriteFile(paths::kIdentityFile, text);
  return identity.Open(paths::kIdentityFile);
}

struct ModelRow {
  const char* model;
  const char* serial;
  int number;
  std::uint32_t numeric;
};

class ModelTable : public test::GatewayTest, public ::testing::WithParamInterface<ModelRow> {};

TEST_P(ModelTable, GivesTheModelItsNumberAndItsPrefix) {
  test::WriteSnXml(GetParam().model, GetParam().serial);
  CsnSet identity;

  EXPECT_EQ(identity.Open(paths::kIdentityFile), 0);

  EXPECT_EQ(identity.GetModel(), GetParam().number);
  EXPECT_STREQ(identity.GetSn(), GetParam().serial);
  EXPECT_EQ(Numeric(identity), GetParam().numeric);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ModelTable,
    ::testing::Values(ModelRow{"Ostra-7K", "AB12", 0, 12}, ModelRow{"Ostra-7K-M", "AB12", 1, 12},
                      ModelRow{"Ostra-5N", "XY4567", 2, 4567},
                      ModelRow{"Ostra-5N-M", "AB12", 3, 12}, ModelRow{"Ostra-R9", "ABC12", 100, 12},
                      ModelRow{"Ostra-R9-M", "ABC000123", 101, 123},
                      ModelRow{"Unknown", "AB12", 1, 12}, ModelRow{"ostra-7k", "AB12", 1, 12},
                      ModelRow{"Ostra-R9-M ", "ABC12", 1, 0}, ModelRow{"", "AB12", 1, 12},
                      ModelRow{"Ostra-7K", "AB12x34", 0, 12}, ModelRow{"Ostra-7K", "A", 0, 0},
                      ModelRow{"Ostra-R9", "ABC", 100, 0},
                      ModelRow{"Ostra-7K", "AB-1", 0, 4294967295U},
                      ModelRow{"Ostra-7K", "AB9999999999", 0, 2147483647U}),
    [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST_F(Identity, IsUnsetBeforeItIsRead) {
  const CsnSet identity;

  EXPECT_EQ(identity.GetModel(), 1);
  EXPECT_STREQ(identity.GetSn(), "");
  EXPECT_EQ(Numeric(identity), 0U);
  EXPECT_FALSE(identity.IsOpen());
}

TEST_F(Identity, ASerialNumberKeeps18Characters) {
  test::WriteSnXml("Ostra-7K", "AB3456789012345678901");
  CsnSet identity;

  identity.Open(paths::kIdentityFile);

  EXPECT_STREQ(identity.GetSn(), "AB3456789012345678");
}

TEST_F(Identity, ALaterElementOverwrites) {
  CsnSet identity;

  EXPECT_EQ(OpenText(identity,
                     "<snConfig><model model=\"Ostra-5N\"/><sn sn=\"ABLONGER77\"/><other/>"
                     "<model model=\"Ostra-R9\"/><model/><sn sn=\"ABC9\"/><sn/></snConfig>"),
            0);

  EXPECT_EQ(identity.GetModel(), 100);
  EXPECT_STREQ(identity.GetSn(), "ABC9");
  EXPECT_EQ(Numeric(identity), 9U);
}

TEST_F(Identity, AnUnreadableFileIsAnErrorThatNamesIt) {
  CsnSet identity;

  EXPECT_EQ(identity.Open("/tessel/absent.xml"), -1);

  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "parse Document /tessel/absent.xml failed"}}));
}

TEST_F(Identity, LoadingWithoutADocumentIsAnError) {
  CsnSet identity;

  EXPECT_EQ(identity.LoadNodeFromXml(), -1);

  EXPECT_EQ(test::TextLog(), (std::vector<LogRecord>{{"ERROR", "parse SN Document failed"}}));
}

TEST_F(Identity, AnotherRootIsAnErrorAndFreesTheDocument) {
  CsnSet identity;
  testing::internal::CaptureStderr();

  EXPECT_EQ(OpenText(identity, "<other/>"), -1);

  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "/tessel/Config/system/sn.xml: line 1: the root is not snConfig\n");
  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{
                {"ERROR", "parse SN Document failed,wrong type,root node is not snConfig"}}));
  EXPECT_FALSE(identity.IsOpen());
}

TEST_F(Identity, ADocumentWithoutARootIsAnErrorAndFreesTheDocument) {
  test::WriteSnXml("Ostra-7K", "AB12");
  CsnSet identity;
  test::FailCalls(test::Call::kXmlRoot);

  EXPECT_EQ(identity.Open(paths::kIdentityFile), -1);

  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "parse SN Document failed,empty document."}}));
  EXPECT_FALSE(identity.IsOpen());
}

class UnusableIdentity : public test::GatewayTest,
                         public ::testing::WithParamInterface<const char*> {};

TEST_P(UnusableIdentity, IsAnError) {
  CsnSet identity;
  testing::internal::CaptureStderr();

  EXPECT_EQ(OpenText(identity, GetParam()), -1);

  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "/tessel/Config/system/sn.xml: has no usable model or sn\n");
  EXPECT_EQ(test::TextLog(),
            (std::vector<LogRecord>{{"ERROR", "parse SN Document failed,no usable model or sn"}}));
  EXPECT_FALSE(identity.IsOpen());
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UnusableIdentity,
    ::testing::Values("<snConfig/>", "<snConfig><model model=\"Ostra-7K\"/></snConfig>",
                      "<snConfig><sn sn=\"AB12\"/></snConfig>",
                      "<snConfig><model/><sn sn=\"AB12\"/></snConfig>",
                      "<snConfig><model model=\"x\"/><sn/></snConfig>",
                      "<snConfig><model model=\"x\"/><sn sn=\"\"/></snConfig>"));

TEST_F(Identity, CloseFreesTheDocumentAndKeepsTheValues) {
  test::WriteSnXml("Ostra-7K", "AB12");
  CsnSet identity;
  identity.Open(paths::kIdentityFile);
  ASSERT_TRUE(identity.IsOpen());

  EXPECT_EQ(identity.Close(), 0);

  EXPECT_FALSE(identity.IsOpen());
  EXPECT_STREQ(identity.GetSn(), "AB12");
  EXPECT_EQ(identity.Close(), -1);
}

TEST_F(Identity, ANumberCanBeComputedFromAnotherText) {
  test::WriteSnXml("Ostra-R9", "ABC1");
  CsnSet identity;
  identity.Open(paths::kIdentityFile);

  identity.Model2Sn("XYZ77");

  EXPECT_EQ(Numeric(identity), 77U);
  EXPECT_STREQ(identity.GetSn(), "ABC1");
}

TEST_F(Identity, TheProcessHasOneObject) {
  EXPECT_EQ(&GetCsnSetInstance(), &GetCsnSetInstance());
}

}  // namespace
