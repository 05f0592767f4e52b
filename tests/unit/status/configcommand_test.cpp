// What the command prints of the check.
#include "main/commands.h"
#include "unit/status/configchecking.h"

namespace status {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::EndsWith;
using ::testing::HasSubstr;

class ConfigCommand : public CheckingConfiguration {
 protected:
  // Runs `config /tessel/Config`, which compares with nothing.
  int Run(bool json = false) {
    Options options;
    options.argument = "/tessel/Config";
    options.json = json;
    ::testing::internal::CaptureStdout();
    const int result = CheckConfig(options);
    output = ::testing::internal::GetCapturedStdout();
    return result;
  }

  std::string output;
};

TEST_F(ConfigCommand, EndsWithTheVerdict) {
  EXPECT_EQ(Run(), 0);

  EXPECT_THAT(output, EndsWith("\nOK: the service would start and send\n"));
}

TEST_F(ConfigCommand, TellsTheSizeOfASnapshot) {
  Run();

  EXPECT_THAT(output,
              ContainsRegex("the archive has about [1-9][0-9]* of 40959 bytes .with typical "
                            "values.; about [1-9][0-9]{3} points fit"));
}

TEST_F(ConfigCommand, WarnsWithFileLineAndRemedy) {
  SystemFile().Cloud("FailInterval", "65596").Write();

  EXPECT_EQ(Run(), 1);

  EXPECT_THAT(output, AllOf(HasSubstr("/tessel/Config/sys.xml:2: WARNING BRN-CONFIG-VALUE: "
                                      "FailInterval 65596 -> 60"),
                            HasSubstr("  BRN-CONFIG-VALUE: correct the file"),
                            HasSubstr("  FailInterval    65596 -> 60\n")));
}

TEST_F(ConfigCommand, FailsWhenTheServiceWouldNotStart) {
  std::remove(paths::kIdentityFile);

  EXPECT_EQ(Run(), 2);

  EXPECT_THAT(output, EndsWith("\nCRITICAL: the service would not start\n"));
}

TEST_F(ConfigCommand, PrintsTheSameAsJson) {
  SystemFile().Cloud("FailInterval", "65596").Write();

  EXPECT_EQ(Run(true), 1);

  EXPECT_THAT(output, AllOf(HasSubstr("\"schema\": 1"), HasSubstr("\"code\": \"BRN-CONFIG-VALUE\""),
                            HasSubstr("\"level\": \"WARNING\""), HasSubstr("\"line\": 2"),
                            ContainsRegex("\"archive_bytes\": [1-9]"),
                            ContainsRegex("\"most_points\": [1-9]")));
}

}  // namespace
}  // namespace status
