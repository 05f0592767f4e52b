// The check of the time and the bytes that a snapshot takes.
#include "http/http.h"
#include "judge/archivesize.h"
#include "unit/status/configchecking.h"

namespace status {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct PaceRow {
  const char* name;
  int devices;  // on one channel: 1.5 s and 0.1 s each
  std::vector<std::string> faults;
  Level level;
};

void PrintTo(const PaceRow& row, std::ostream* out) {
  *out << row.name;
}

class PackingTime : public CheckingConfiguration, public ::testing::WithParamInterface<PaceRow> {};

TEST_P(PackingTime, IsComparedWithTheInterval) {
  SystemFile().Cloud("RealDataInv", "60").Write();
  test::ChannelTemplate channels;
  for (int i = 0; i < GetParam().devices; ++i) {
    if (i % 200 == 0) channels.Channel(1 + i / 200);
    channels.Device(i % 200, kPump);
  }
  channels.Write();

  const ConfigCheck check = Check();

  EXPECT_EQ(Told(check), GetParam().faults);
  EXPECT_EQ(check.level, GetParam().level);
}

INSTANTIATE_TEST_SUITE_P(
    ConfigCheck, PackingTime,
    ::testing::Values(
        PaceRow{"Half", 280, {}, Level::kOk},
        PaceRow{"MoreThanHalf",
                281,
                {"BRN-CONFIG-TIME sys.xml:0 packing a snapshot takes 30.1 s, more than half of the "
                 "60 s of RealDataInv"},
                Level::kWarning},
        PaceRow{
            "MoreThanTheWhole",
            576,
            {"BRN-CONFIG-TIME sys.xml:0 packing a snapshot takes 60.1 s, more than the whole of "
             "the 60 s of RealDataInv"},
            Level::kCritical}),
    ::testing::PrintToStringParamName());

// Devices of a hundred points each.
void WritePoints(int count) {
  test::DeviceFile file("pump");
  for (int i = 1; i <= 100; ++i) file.Node("AI", i);
  file.Write();
  test::ChannelTemplate channels;
  channels.Channel(1);
  for (int i = 0; i < count / 100; ++i) channels.Device(i, kPump);
  channels.Write();
}

TEST_F(CheckingConfiguration, RefusesAnArchiveThatIsNotSent) {
  WritePoints(7000);

  const ConfigCheck check = Check();

  EXPECT_THAT(Told(check), ElementsAre(AllOf(HasSubstr("BRN-CONFIG-SIZE"), HasSubstr("7000 points"),
                                             HasSubstr("not sent and counts as accepted"))));
  EXPECT_EQ(check.level, Level::kCritical);
}

TEST_F(CheckingConfiguration, TellsHowManyPointsFit) {
  WritePoints(1000);
  const std::size_t most = PointsThatFit(LoadConfiguration(Place()), nullptr);
  const int fitting = static_cast<int>(most) / 100 * 100;

  WritePoints(fitting - 100);
  EXPECT_LT(Check().snapshot.archiveBytes, static_cast<std::size_t>(kFileLimitBytes));
  WritePoints(fitting + 200);
  EXPECT_GE(Check().snapshot.archiveBytes, static_cast<std::size_t>(kFileLimitBytes));
}

TEST_F(CheckingConfiguration, UsesTheValuesThatArePublished) {
  WritePoints(7000);
  std::map<std::uint32_t, double> published;
  const Configuration configuration = LoadConfiguration(Place());
  for (const auto& [dataId, point] : *configuration.points) published[dataId] = 0;

  EXPECT_THAT(Told(CheckWith(published)), IsEmpty());
}

// `tar` and `gzip` of the machine pack the same text.
TEST(PackedBytes, AreThoseOfTarWithinAHundredth) {
  std::string text;
  for (unsigned i = 0; i < 4000; ++i)
    text += "{\"value\":\"" + std::to_string(i * 2654435761U % 1000000) + "\"}";
  test::WriteFile("/tmp/packed/S20261122040000.dat", text);
  ASSERT_EQ(std::system("cd /tmp/packed && tar -zcf packed.tar.gz S20261122040000.dat"), 0);
  const auto real = static_cast<double>(std::filesystem::file_size("/tmp/packed/packed.tar.gz"));
  std::filesystem::remove_all("/tmp/packed");

  EXPECT_NEAR(static_cast<double>(PackedBytes(text)), real, real / 100);
}

}  // namespace
}  // namespace status
