// The acquisition side as it should not be: absent, empty, lying, torn.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "acquisition/tornwriter.h"
#include "cloud/simulator.h"
#include "system/support/cloudserver.h"
#include "system/support/ledger.h"
#include "system/support/logtimes.h"
#include "system/support/plant.h"
#include "system/support/systemtest.h"
#include "util/paths.h"

namespace {

constexpr char kNoValues[] = "Brennik Get RealData error";

class LiveSegment : public test::SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    test::WriteExamplePlant();
    test::SystemFile(m_server.Port()).Write();
  }

  test::CloudServer m_server;
};

struct BadSegment {
  const char* name;
  bool present;
  std::vector<SegmentPoint> points;
  SegmentShape shape;
};

class UnusableSegment : public LiveSegment, public ::testing::WithParamInterface<BadSegment> {
 protected:
  // The segment of the row, as long as the test runs.
  void SetUp() override {
    LiveSegment::SetUp();
    if (GetParam().present) m_segment.emplace(GetParam().points, GetParam().shape);
  }

  std::optional<Segment> m_segment;
};

TEST_P(UnusableSegment, IsReportedOnceACycle) {
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 14, 0));

  EXPECT_EQ(test::DatabaseLogTimes(kNoValues), (std::vector<std::string>{"12:05:00", "12:10:00"}));
}

TEST_P(UnusableSegment, MakesNoFileAndNoLedger) {
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 14, 0));

  EXPECT_EQ(test::List("/media/mmcblk0p1/Cloud/JsonFiles/realdata/7"), std::vector<std::string>{});
  EXPECT_FALSE(test::Exists(paths::kLedger));
}

TEST_P(UnusableSegment, HarmsNoLaterCycle) {
  test::ServiceProcess service(At(12, 4, 30));
  service.RunUntil(At(12, 6));
  m_segment.reset();
  const Segment sound(test::ExampleValues());

  service.RunUntil(At(12, 11));

  EXPECT_EQ(test::ReadLedger(),
            (std::vector<test::LedgerRow>{{"realdata/7/S20240307121000.tar.gz"}}));
}

INSTANTIATE_TEST_SUITE_P(
    LiveSegment, UnusableSegment,
    ::testing::Values(BadSegment{"Absent", false, {}, {}}, BadSegment{"Empty", true, {}, {}},
                      BadSegment{"CountZero", true, test::ExampleValues(), {.count = 0}},
                      BadSegment{"CountOneTooMany", true, test::ExampleValues(), {.count = 6}},
                      BadSegment{"CountHuge", true, test::ExampleValues(), {.count = 0xFFFFFFFF}},
                      // 24 x 178,956,971 is 8 beyond 32 bits.
                      BadSegment{
                          "CountThatOverflows", true, test::ExampleValues(), {.count = 178956971}},
                      BadSegment{"SmallerThanItsCountWord", true, {}, {.bytes = 1}}),
    [](const auto& row) { return row.param.name; });

TEST_F(LiveSegment, LargerThanItsCountIsReadUpToItsCount) {
  auto values = test::ExampleValues();
  values.insert(values.begin(), {0x01030001, 12.5});
  const Segment segment(values, {.count = 6, .bytes = 65536});
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 6));

  EXPECT_EQ(test::ReadLedger(),
            (std::vector<test::LedgerRow>{{"realdata/7/S20240307120500.tar.gz"}}));
}

TEST_F(LiveSegment, IsAttachedForNoLongerThanTheCopy) {
  const Segment segment(test::ExampleValues());
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(12, 5, 0));  // in the middle of packing

  EXPECT_EQ(test::ReadFile("/proc/" + std::to_string(service.Pid()) + "/maps").find("SYSV"),
            std::string::npos);
}

TEST_F(LiveSegment, GoneAndBackIsTakenUpAgain) {
  test::ServiceProcess service(At(12, 4, 30));
  {
    const Segment segment(test::ExampleValues());
    service.RunUntil(At(12, 6));
  }
  service.RunUntil(At(12, 11));
  const Segment segment(test::ExampleValues());

  service.RunUntil(At(12, 16));

  EXPECT_EQ(test::ReadLedger(),
            (std::vector<test::LedgerRow>{{"realdata/7/S20240307120500.tar.gz"},
                                          {"realdata/7/S20240307121500.tar.gz"}}));
  EXPECT_EQ(test::DatabaseLogTimes(kNoValues), std::vector<std::string>{"12:10:00"});
}

// Values of even and of odd seconds, whose halves differ in both words.
std::vector<SegmentPoint> Flickering(std::int64_t unixSeconds) {
  auto values = test::ExampleValues();
  for (auto& value : values) value.value = unixSeconds % 2 == 0 ? 1.1 : -2.2e5;
  return values;
}

TEST_F(LiveSegment, TornByAConcurrentWriterStillGivesSoundDocuments) {
  cloud::Simulator cloud({.serialNumber = test::kSerialNumber});
  test::SystemFile(cloud.Port()).Write();
  Segment segment(Flickering(0));
  const TornWriter writer(segment, Flickering);
  test::ServiceProcess service(At(12, 4, 30));

  service.RunUntil(At(16, 4, 30));

  EXPECT_EQ(cloud.AcceptedUploads().size(), 48U);
  for (const auto& exchange : cloud.Exchanges()) EXPECT_EQ(exchange.verdict, "accepted");
  EXPECT_GT(writer.Rounds(), 0U);
  EXPECT_EQ(test::CountResults(1), 48);
}

TEST_F(LiveSegment, GrowingAndShrinkingWhileTheServiceRunsHarmsNothing) {
  test::ServiceProcess service(At(12, 4, 30));
  for (int cycle = 0; cycle < 6; ++cycle) {
    auto values = test::ExampleValues();
    if (cycle % 2 == 0) values.resize(1000, {0x03000000, 5});
    const Segment segment(values);
    service.RunFor(300);
  }

  EXPECT_EQ(test::CountResults(0), 6);
}

}  // namespace
