#include "config/snset.h"

#include <gmock/gmock.h>

#include <string>

#include "support/configs.h"
#include "support/gateway.h"
#include "util/paths.h"

namespace {

std::uint32_t Numeric(const CsnSet& identity) {
  std::uint32_t numeric = 0;
  identity.GetSn(&numeric);
  return numeric;
}

struct ModelRow {
  const char* model;
  const char* serial;
  int number;
  std::uint32_t numeric;
};

class Identity : public test::GatewayTest {};

TEST_F(Identity, GivesAModelItsNumberAndItsPrefix) {
  for (const auto& row : {ModelRow{"Ostra-7K", "AB12", 0, 12},
                          {"Ostra-7K-M", "AB12", 1, 12},
                          {"Ostra-5N", "XY4567", 2, 4567},
                          {"Ostra-5N-M", "AB12", 3, 12},
                          {"Ostra-R9", "ABC12", 100, 12},
                          {"Ostra-R9-M", "ABC000123", 101, 123},
                          {"Unknown", "AB12", 1, 12},
                          {"ostra-7k", "AB12", 1, 12},
                          {"", "AB12", 1, 12},
                          {"Ostra-7K", "AB12x34", 0, 12},
                          {"Ostra-7K", "A", 0, 0},
                          {"Ostra-7K", "AB-1", 0, 4294967295U},
                          {"Ostra-7K", "AB9999999999", 0, 2147483647U}}) {
    SCOPED_TRACE(std::string(row.model) + " " + row.serial);
    test::WriteSnXml(row.model, row.serial);
    CsnSet identity;

    EXPECT_EQ(identity.Open(paths::kIdentityFile), 0);

    EXPECT_EQ(identity.GetModel(), row.number);
    EXPECT_STREQ(identity.GetSn(), row.serial);
    EXPECT_EQ(Numeric(identity), row.numeric);
  }
}

TEST_F(Identity, StartsAsModelOneWithoutASerialNumber) {
  const CsnSet identity;

  EXPECT_EQ(identity.GetModel(), 1);
  EXPECT_STREQ(identity.GetSn(), "");
  EXPECT_EQ(Numeric(identity), 0U);
}

TEST_F(Identity, TakesTheLastOfRepeatedElementsAnd18CharactersOfASerialNumber) {
  CsnSet identity;
  test::WriteFile(
      paths::kIdentityFile,
      "<snConfig><model model=\"Ostra-5N\"/><sn sn=\"AB1\"/><other/>"
      "<model model=\"Ostra-R9\"/><model/><sn sn=\"ABC4567890000000079\"/><sn/></snConfig>");

  EXPECT_EQ(identity.Open(paths::kIdentityFile), 0);

  EXPECT_EQ(identity.GetModel(), 100);
  EXPECT_STREQ(identity.GetSn(), "ABC456789000000007");
  EXPECT_EQ(Numeric(identity), 2147483647U);
}

TEST_F(Identity, NeedsAModelAndASerialNumber) {
  for (const char* content :
       {"<model model=\"x\"/>", "<sn sn=\"AB12\"/>", "<model/><sn sn=\"AB12\"/>",
        "<model model=\"x\"/><sn/>", "<model model=\"x\"/><sn sn=\"\"/>"}) {
    test::WriteFile(paths::kIdentityFile, std::string("<snConfig>") + content + "</snConfig>");
    EXPECT_EQ(CsnSet().Open(paths::kIdentityFile), -1) << content;
  }
}

TEST_F(Identity, KeepsItsValuesAfterCloseAndForTheNumberOfAnotherSerialNumber) {
  test::WriteSnXml("Ostra-R9", "ABC1");
  CsnSet identity;
  identity.Open(paths::kIdentityFile);
  ASSERT_TRUE(identity.IsOpen());

  EXPECT_EQ(identity.Close(), 0);

  EXPECT_EQ(identity.Close(), -1);
  EXPECT_FALSE(identity.IsOpen());
  identity.Model2Sn("XYZ77");
  EXPECT_EQ(Numeric(identity), 77U);
  EXPECT_STREQ(identity.GetSn(), "ABC1");
}

}  // namespace
