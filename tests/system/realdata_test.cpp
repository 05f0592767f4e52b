// Live values on their way from the segment to an upload that the cloud has accepted.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "acquisition/tornwriter.h"
#include "cloud/archive.h"
#include "system/support/ledger.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

using cloud::Endpoint;
using test::LedgerRow;

constexpr char kName[] = "realdata/7/S20240307120500.tar.gz";
constexpr char kTimeMark[] = "2024-03-07 12:05:00";

// The service starts at 12:03:10, packs at 12:05:00 and uploads at 12:06:00.
class RealDataRoad : public test::ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    test::WriteExamplePlant();
  }

  std::optional<Segment> m_segment{test::ExampleValues()};
};

TEST_F(RealDataRoad, BringsTheValuesToTheCloud) {
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 5, 30));
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kRealDataType, 0}}));
  service.RunUntil(At(12, 6, 30));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kRealDataType, 1}}));
  EXPECT_EQ(Exchanges(Endpoint::kAuthorize).size(), 1U);
  const auto uploads = m_cloud.AcceptedUploads();
  ASSERT_EQ(uploads.size(), 1U);
  EXPECT_EQ(uploads[0].endpoint, Endpoint::kRealData);
  EXPECT_EQ(uploads[0].memberName, "S20240307120500.dat");
  EXPECT_EQ(uploads[0].document, test::ExampleDocument(kTimeMark));
  EXPECT_EQ(uploads[0].archive, test::ReadFile(test::DataFilePath(kName)));
}

TEST_F(RealDataRoad, LeavesOnlyTheArchiveOnTheCard) {
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 6, 30));

  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(paths::kCloudTree)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::ranges::sort(files);
  EXPECT_EQ(files, (std::vector<std::string>{paths::kLedger, paths::kLedgerJournal,
                                             test::DataFilePath(kName)}));
}

TEST_F(RealDataRoad, IgnoresTheSettingsOfHttpsAndCompression) {
  test::SystemFile(m_cloud.Port())
      .Cloud("IsCompress", "1")
      .Https("checked", "1")
      .Https("certfile", "/tessel/Config/cert.pem")
      .Write();
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 6, 30));

  ASSERT_EQ(m_cloud.AcceptedUploads().size(), 1U);
  EXPECT_EQ(m_cloud.AcceptedUploads()[0].document, test::ExampleDocument(kTimeMark));
}

TEST_F(RealDataRoad, TakesTheValuesAtTheBoundary) {
  auto values = test::ExampleValues();
  test::ServiceProcess service(At(12, 3, 10));
  service.RunUntil(At(12, 4, 59));
  values[0].value = 99;
  m_segment->Write(values);
  service.RunUntil(At(12, 5, 0));
  values[0].value = 100;
  m_segment->Write(values);

  service.RunUntil(At(12, 5, 30));

  const std::string text = cloud::ReadArchive(test::ReadFile(test::DataFilePath(kName))).text;
  EXPECT_NE(text.find("\"99.000\""), std::string::npos) << text;
}

TEST_F(RealDataRoad, UsesTheNewDaysDirectoryAtMidnight) {
  test::ServiceProcess service(At(23, 58));

  service.RunUntil(At(24, 0, 20));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{"realdata/8/S20240308000000.tar.gz"}}));
}

TEST_F(RealDataRoad, ReplacesTheFileAndKeepsTheRowInASecondRunOfTheCycle) {
  {
    test::ServiceProcess service(At(12, 5));
    service.RunUntil(At(12, 6, 30));
  }
  test::WriteFile(test::DataFilePath(kName), "of the first run");
  test::ServiceProcess service(At(12, 7));

  service.RunUntil(At(12, 9));

  EXPECT_NE(test::ReadFile(test::DataFilePath(kName)), "of the first run");
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kRealDataType, 1}}));
  EXPECT_EQ(m_cloud.AcceptedUploads().size(), 1U);
}

TEST_F(RealDataRoad, GoesOnOnceTheSegmentIsSound) {
  m_segment.reset();
  test::ServiceProcess service(At(12, 3, 10));
  service.RunUntil(At(12, 6));  // without a segment
  m_segment.emplace(test::ExampleValues(), SegmentShape{.count = 0xFFFFFFFF});
  service.RunUntil(At(12, 11));
  m_segment.reset();
  m_segment.emplace(test::ExampleValues());

  service.RunUntil(At(12, 15, 30));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{"realdata/7/S20240307121500.tar.gz"}}));
}

TEST_F(RealDataRoad, FollowsASegmentThatGrowsAndShrinks) {
  test::ServiceProcess service(At(12, 4, 30));
  for (int cycle = 0; cycle < 6; ++cycle) {
    auto values = test::ExampleValues();
    if (cycle % 2 == 0) values.resize(1000, {0x03000000, 5});
    m_segment.reset();
    m_segment.emplace(values);
    service.RunFor(300);
  }

  EXPECT_EQ(test::ReadLedger().size(), 6U);
}

// Values of even and odd seconds, which differ in both words.
std::vector<SegmentPoint> Flickering(std::int64_t unixSeconds) {
  auto values = test::ExampleValues();
  for (auto& value : values) value.value = unixSeconds % 2 == 0 ? 1.1 : -2.2e5;
  return values;
}

TEST_F(RealDataRoad, MakesSoundDocumentsWhileTheSegmentIsRewritten) {
  const TornWriter writer(*m_segment, Flickering);
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(13, 4, 30));

  EXPECT_EQ(m_cloud.AcceptedUploads().size(), 12U);  // the cloud takes only sound documents
  EXPECT_EQ(test::CountResults(1), 12);
}

}  // namespace
