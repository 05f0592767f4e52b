// The snapshot of the live values, from a segment as the acquisition side makes it.
#include "datasource/realdata.h"

#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "acquisition/segment.h"
#include "support/faults.h"
#include "support/gateway.h"

using test::Call;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

using Values = std::map<std::uint32_t, double>;

constexpr std::uint32_t kPump = 0x01031123;
constexpr std::uint32_t kTank = 0x01040005;
constexpr std::size_t kRecord = sizeof(ST_LIVE_RECORD);
constexpr std::size_t kCount = sizeof(std::uint32_t);

static_assert(kLiveValueKey == 67843);

int Snapshot(Values& values) {
  return GetCRealDataInstance().GetRealData(&values);
}

class LiveValues : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    Segment::RequireNone(StaleSegment::kReplace);
  }
};

TEST_F(LiveValues, TakesIdentifierAndValueFromBytes0And8OfARecord) {
  const Segment segment({{0, 0}, {0, 0}});
  const SegmentWords words = segment.Attach();
  constexpr std::array<std::uint32_t, 13> kRaw = {
      2,                                                                       // record count
      0x01040005, 0xDEADBEEF, 0x00000000, 0x40290000, 0xDEADBEEF, 0xDEADBEEF,  // 12.5
      0xC1010001, 0x12345678, 0x00000000, 0xBFF00000, 0x12345678, 0x12345678,  // -1
  };
  for (std::size_t i = 0; i < kRaw.size(); ++i) words[i] = kRaw.at(i);
  Values values;

  EXPECT_EQ(Snapshot(values), 0);
  EXPECT_THAT(values, ElementsAre(Pair(kTank, 12.5), Pair(0xC1010001, -1)));
}

TEST_F(LiveValues, TakesTheFirstRecordOfAPointAndLeavesEntriesThatAreThere) {
  const Segment segment({{kTank, 1}, {kPump, 2}, {7, 9}, {kPump, 3}, {kTank, 4}});
  Values values{{7, 8}};

  EXPECT_EQ(Snapshot(values), 0);
  EXPECT_THAT(values, ElementsAre(Pair(7, 8), Pair(kPump, 2), Pair(kTank, 1)));
}

TEST_F(LiveValues, ReadsTheSegmentAnewEachTime) {
  for (const double value : {1., 2.}) {
    const Segment segment({{kPump, value}});
    Values values;

    EXPECT_EQ(Snapshot(values), 0);
    EXPECT_THAT(values, ElementsAre(Pair(kPump, value)));
  }
}

TEST_F(LiveValues, FailsWithoutASegmentAndMakesNone) {
  Values values{{7, 8}};

  EXPECT_EQ(Snapshot(values), -1);
  EXPECT_THAT(values, SizeIs(1));
  EXPECT_EQ(shmget(kLiveValueKey, 0, 0), -1);
}

TEST_F(LiveValues, FailsAndDetachesWhenTheSegmentCannotBeAttachedOrCopied) {
  const Segment segment({{kPump, 1}});

  for (const Call call : {Call::kShmat, Call::kCalloc}) {
    test::FailCalls(call);
    Values values{{7, 8}};
    EXPECT_EQ(Snapshot(values), -1);
    EXPECT_THAT(values, SizeIs(1));
  }

  shmid_ds status{};
  shmctl(shmget(kLiveValueKey, 0, 0), IPC_STAT, &status);
  EXPECT_EQ(status.shm_nattch, 1U);  // the acquisition side
}

// Attaching asks for write access too, although nothing is ever written.
TEST_F(LiveValues, FailsOnASegmentThatMayOnlyBeRead) {
  const int id = shmget(kLiveValueKey, 4096, IPC_CREAT | IPC_EXCL | 0444);
  ASSERT_NE(id, -1);
  Values values;

  errno = 0;
  const int result = Snapshot(values);
  const int error = errno;

  shmctl(id, IPC_RMID, nullptr);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, EACCES);
}

struct Shape {
  const char* name;
  std::size_t bytes;
  std::uint32_t count;
};

class SegmentShapes : public LiveValues, public ::testing::WithParamInterface<Shape> {};

TEST_P(SegmentShapes, FailWhenTheCountIsNothingOrDoesNotFit) {
  const Segment segment({{0, 1}, {1, 1}}, {.bytes = GetParam().bytes});
  segment.Attach()[0] = GetParam().count;  // memory comes by the page: there is room for the word
  Values values;

  EXPECT_EQ(Snapshot(values), -1);
  EXPECT_THAT(values, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, SegmentShapes,
    ::testing::Values(Shape{"NoRecords", kCount + 2 * kRecord, 0}, Shape{"OneByte", 1, 1},
                      Shape{"ThreeBytes", 3, 1}, Shape{"CountWordOnly", kCount, 1},
                      Shape{"OneByteShortOfTwoRecords", kCount + 2 * kRecord - 1, 2},
                      Shape{"TwoRecordsOfThree", kCount + 2 * kRecord, 3},
                      // 24 times this count, in 32 bits, is 8.
                      Shape{"CountThatOverflows", kCount + 2 * kRecord, 178956971},
                      Shape{"GreatestCount", 4096, 0xFFFFFFFF}),
    [](const auto& test) { return test.param.name; });

TEST_F(LiveValues, ReadsASegmentUpToItsLastRecordAndNoFurther) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  std::vector<SegmentPoint> points;
  for (std::uint32_t i = 0; i < (page - kCount) / kRecord; ++i) points.push_back({i, 1});
  const Segment segment(points, {.bytes = page});
  test::GuardNextSegment();
  Values values;

  EXPECT_EQ(Snapshot(values), 0);
  EXPECT_THAT(values, SizeIs(points.size()));
}

TEST_F(LiveValues, TakesNoMoreRecordsThanTheCount) {
  const Segment segment({{1, 1}, {2, 1}, {3, 1}}, {.count = 2});
  Values values;

  EXPECT_EQ(Snapshot(values), 0);
  EXPECT_THAT(values, SizeIs(2));
}

TEST_F(LiveValues, KnowsNoTimeOfAnyDevice) {
  EXPECT_EQ(GetCRealDataInstance().GetOldTime(0x0103), 0U);
}

}  // namespace
