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

// The service packs at 12:05:00 and uploads at 12:06:00. It ignores the settings of HTTPS and
// compression.
class RealDataRoad : public test::ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    test::WriteExamplePlant();
    test::SystemFile(m_cloud.Port())
        .Cloud("IsCompress", "1")
        .Https("checked", "1")
        .Https("certfile", "/tessel/Config/cert.pem")
        .Write();
  }

  static std::vector<std::string> FilesOnTheCard() {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(paths::kCloudTree)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
  }

  std::optional<Segment> m_segment{test::ExampleValues()};
};

TEST_F(RealDataRoad, BringsTheValuesToTheCloud) {
  test::ServiceProcess service(At(12, 3, 10));

  service.RunUntil(At(12, 5, 30));
  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kRealDataType, 0}}));
  service.RunUntil(At(12, 6, 30));

  EXPECT_EQ(test::ReadLedger(), (std::vector<LedgerRow>{{kName, test::kRealDataType, 1}}));
  EXPECT_EQ(FilesOnTheCard(), (std::vector<std::string>{paths::kLedger, paths::kLedgerJournal,
                                                        test::DataFilePath(kName)}));
  EXPECT_EQ(Exchanges(Endpoint::kAuthorize).size(), 1U);
  const auto uploads = m_cloud.AcceptedUploads();
  ASSERT_EQ(uploads.size(), 1U);
  EXPECT_EQ(uploads[0].endpoint, Endpoint::kRealData);
  EXPECT_EQ(uploads[0].memberName, "S20240307120500.dat");
  EXPECT_EQ(uploads[0].document, test::ExampleDocument("2024-03-07 12:05:00"));
  EXPECT_EQ(uploads[0].archive, test::ReadFile(test::DataFilePath(kName)));
}

TEST_F(RealDataRoad, TakesTheValuesAtTheBoundary) {
  test::ServiceProcess service(At(12, 3, 10));
  service.RunUntil(At(12, 4, 59));
  m_segment->Set(0x01030001, 99);
  service.RunUntil(At(12, 5, 0));
  m_segment->Set(0x01030001, 100);

  service.RunUntil(At(12, 5, 30));

  const std::string text = cloud::ReadArchive(test::ReadFile(test::DataFilePath(kName))).text;
  EXPECT_NE(text.find("\"99.000\""), std::string::npos) << text;
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
}

}  // namespace
