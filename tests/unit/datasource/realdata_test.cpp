// The snapshot of the live values, from a segment as the acquisition side makes it.
#include "datasource/realdata.h"

#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <new>
#include <vector>

#include "acquisition/segment.h"
#include "support/faults.h"
#include "support/gateway.h"

namespace {

using PointValues = std::map<std::uint32_t, double>;
using test::Call;
using namespace testing;

constexpr std::uint32_t kLivePump = 0x01031123;
constexpr std::uint32_t kTank = 0x01040005;
constexpr std::size_t kRecord = sizeof(ST_LIVE_RECORD);
constexpr std::size_t kCount = sizeof(std::uint32_t);

static_assert(kLiveValueKey == 67843);

unsigned long Attachments(int segment) {
  shmid_ds status{};
  shmctl(segment, IPC_STAT, &status);
  return status.shm_nattch;
}

// The segment that is looked at whenever this thread allocates, and the most attachments seen.
thread_local int t_watchedSegment = -1;
thread_local unsigned long t_mostAttachments = 0;

}  // namespace

// A map allocates when an entry is inserted. Not inlined: new and free must not meet in one caller.
[[gnu::noinline]] void* operator new(std::size_t bytes) {
  if (t_watchedSegment != -1) {
    t_mostAttachments = std::max(t_mostAttachments, Attachments(t_watchedSegment));
  }
  if (void* memory = std::malloc(bytes)) return memory;
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
  std::free(memory);
}

namespace {

class LiveValues : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    Segment::RequireNone(StaleSegment::kReplace);
  }
  static int Snapshot(PointValues& values) { return GetCRealDataInstance().GetRealData(&values); }
  static void ExpectFailure() {
    PointValues values{{7, 8}};
    EXPECT_EQ(Snapshot(values), -1);
    EXPECT_THAT(values, SizeIs(1));
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
  PointValues values;

  EXPECT_EQ(Snapshot(values), 0);
  EXPECT_THAT(values, ElementsAre(Pair(kTank, 12.5), Pair(0xC1010001, -1)));
}

TEST_F(LiveValues, TakesTheFirstRecordOfAPointAndLeavesEntriesThatAreThere) {
  const Segment segment({{kTank, 1}, {kLivePump, 2}, {7, 9}, {kLivePump, 3}, {kTank, 4}});
  PointValues values{{7, 8}};

  EXPECT_EQ(Snapshot(values), 0);
  EXPECT_THAT(values, ElementsAre(Pair(7, 8), Pair(kLivePump, 2), Pair(kTank, 1)));
}

TEST_F(LiveValues, ReadsTheSegmentAnewEachTimeAsFarAsItsCount) {
  for (const double value : {1., 2.}) {
    const Segment segment({{kLivePump, value}, {kTank, value}}, {.count = 1});
    PointValues values;

    EXPECT_EQ(Snapshot(values), 0);
    EXPECT_THAT(values, ElementsAre(Pair(kLivePump, value)));
  }
}

TEST_F(LiveValues, FailsWithoutASegmentAndMakesNone) {
  ExpectFailure();
  EXPECT_EQ(shmget(kLiveValueKey, 0, 0), -1);
}

TEST_F(LiveValues, FailsAndDetachesWhenTheSegmentCannotBeAttachedOrCopied) {
  const Segment segment({{kLivePump, 1}});

  for (const Call call : {Call::kShmat, Call::kCalloc}) {
    test::FailCalls(call);
    ExpectFailure();
  }

  EXPECT_EQ(Attachments(shmget(kLiveValueKey, 0, 0)), 1U);  // the acquisition side
}

TEST_F(LiveValues, DetachesTheSegmentBeforeItInsertsAPoint) {
  const Segment segment({{kLivePump, 1}, {kTank, 2}});
  PointValues values;

  t_watchedSegment = shmget(kLiveValueKey, 0, 0);
  Snapshot(values);
  t_watchedSegment = -1;

  EXPECT_EQ(t_mostAttachments, 1U);  // the acquisition side
}

// Attaching asks for write access too, although nothing is ever written.
TEST_F(LiveValues, FailsOnASegmentThatMayOnlyBeRead) {
  const int id = shmget(kLiveValueKey, 4096, IPC_CREAT | IPC_EXCL | 0444);
  ASSERT_NE(id, -1);
  PointValues values;

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

class SegmentShapes : public LiveValues, public WithParamInterface<Shape> {};

TEST_P(SegmentShapes, FailWhenTheCountIsNothingOrDoesNotFit) {
  const Segment segment({{0, 1}, {1, 1}}, {.bytes = GetParam().bytes});
  segment.Attach()[0] = GetParam().count;  // memory comes by the page: there is room for the word

  ExpectFailure();
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, SegmentShapes,
    ::testing::Values(Shape{"NoRecords", kCount + 2 * kRecord, 0}, Shape{"ThreeBytes", 3, 1},
                      Shape{"CountWordOnly", kCount, 1},
                      Shape{"OneByteShortOfTwoRecords", kCount + 2 * kRecord - 1, 2},
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
  PointValues values;

  EXPECT_EQ(Snapshot(values), 0);
  EXPECT_THAT(values, SizeIs(points.size()));
}

TEST_F(LiveValues, KnowsNoTimeOfAnyDevice) {
  EXPECT_EQ(GetCRealDataInstance().GetOldTime(0x0103), 0U);
}

}  // namespace
