// The snapshot of the live values, on a segment as the acquisition side makes it.
#include "datasource/realdata.h"

#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <map>
#include <thread>
#include <type_traits>
#include <vector>

#include "acquisition/segment.h"
#include "support/faults.h"
#include "support/gateway.h"
#include "support/logs.h"

using test::Call;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

using Values = std::map<std::uint32_t, double>;

constexpr std::uint32_t kPump = 0x01031123;
constexpr std::uint32_t kTank = 0x01040005;
constexpr std::size_t kWordsOfARecord = 6;

static_assert(!std::is_copy_constructible_v<CRealData>);
static_assert(kLiveValueKey == 67843);

// How many are attached to the segment that stands under the key.
int Attached() {
  shmid_ds status{};
  return shmctl(shmget(kLiveValueKey, 0, 0), IPC_STAT, &status) == 0
             ? static_cast<int>(status.shm_nattch)
             : -1;
}

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

TEST_F(LiveValues, HoldOneEntryAPoint) {
  const Segment segment({{kPump, 12.5}, {kTank, -0.0004}});
  Values values;

  const int result = Snapshot(values);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(values, ElementsAre(Pair(kPump, 12.5), Pair(kTank, -0.0004)));
}

TEST_F(LiveValues, AreSortedWhateverTheOrderOfTheSegment) {
  const Segment segment({{kTank, 3}, {0xFFFFFFFF, 4}, {0, 1}, {kPump, 2}});
  Values values;

  const int result = Snapshot(values);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(values, ElementsAre(Pair(0, 1), Pair(kPump, 2), Pair(kTank, 3), Pair(0xFFFFFFFF, 4)));
}

TEST_F(LiveValues, IncludePointsThatNoTemplateKnowsAndThoseOfChannel193) {
  const Segment segment({{0xC1010001, 1}, {0xEEEEEEEE, 2}});
  Values values;

  Snapshot(values);

  EXPECT_THAT(values, ElementsAre(Pair(0xC1010001, 1), Pair(0xEEEEEEEE, 2)));
}

TEST_F(LiveValues, TakeTheFirstRecordOfAPointThatStandsTwice) {
  const Segment segment({{kTank, 1}, {kPump, 2}, {kPump, 3}, {kTank, 4}});
  Values values;

  const int result = Snapshot(values);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(values, ElementsAre(Pair(kPump, 2), Pair(kTank, 1)));
}

TEST_F(LiveValues, LeaveAnEntryThatIsThereBefore) {
  const Segment segment({{kPump, 2}, {kTank, 1}});
  Values values{{kPump, 99}, {7, 8}};

  const int result = Snapshot(values);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(values, ElementsAre(Pair(7, 8), Pair(kPump, 99), Pair(kTank, 1)));
}

TEST_F(LiveValues, KeepEveryBitOfADouble) {
  const std::vector<double> originals = {0.0,
                                         -0.0,
                                         1e300,
                                         -1e-300,
                                         std::numeric_limits<double>::denorm_min(),
                                         std::numeric_limits<double>::infinity(),
                                         -std::numeric_limits<double>::infinity(),
                                         std::numeric_limits<double>::quiet_NaN()};
  std::vector<SegmentPoint> points;
  for (const double value : originals) {
    points.push_back({static_cast<std::uint32_t>(points.size()), value});
  }
  const Segment segment(points);
  Values values;

  Snapshot(values);

  ASSERT_THAT(values, SizeIs(originals.size()));
  for (const auto& [index, value] : values) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(originals[index]));
  }
}

TEST_F(LiveValues, ComeFromBytes0To3And8To15OfARecord) {
  const Segment segment({{0, 0}, {0, 0}});
  const SegmentWords words = segment.Attach();
  constexpr std::array<std::uint32_t, 1 + 2 * kWordsOfARecord> kRaw = {
      2,                                                                       // record count
      0x01031123, 0xDEADBEEF, 0x00000000, 0x40290000, 0xDEADBEEF, 0xDEADBEEF,  // 12.5
      0x01040005, 0x12345678, 0x00000000, 0xBFF00000, 0x12345678, 0x12345678,  // -1
  };
  for (std::size_t i = 0; i < kRaw.size(); ++i) words[i] = kRaw.at(i);
  Values values;

  const int result = Snapshot(values);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(values, ElementsAre(Pair(kPump, 12.5), Pair(kTank, -1)));
}

TEST_F(LiveValues, AreReadAnewEachTime) {
  Segment segment({{kPump, 1}});
  Values before;
  Values after;

  Snapshot(before);
  segment.Set(kPump, 2);
  Snapshot(after);

  EXPECT_THAT(before, ElementsAre(Pair(kPump, 1)));
  EXPECT_THAT(after, ElementsAre(Pair(kPump, 2)));
}

TEST_F(LiveValues, ComeFromTheNewSegmentOnceTheAcquisitionSideHasReplacedIt) {
  Values before;
  Values after;
  {
    const Segment segment({{kPump, 1}});
    Snapshot(before);
  }
  const Segment segment({{kPump, 2}, {kTank, 3}});

  const int result = Snapshot(after);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(after, ElementsAre(Pair(kPump, 2), Pair(kTank, 3)));
}

TEST_F(LiveValues, OfTenThousandPointsAreAllTaken) {
  std::vector<SegmentPoint> points;
  Values expected;
  for (std::uint32_t i = 0; i < 10000; ++i) {
    points.push_back({i * 0x10003U, i * 0.25});
    expected[i * 0x10003U] = i * 0.25;
  }
  const Segment segment(points);
  Values values;

  const int result = Snapshot(values);

  EXPECT_EQ(result, 0);
  EXPECT_EQ(values, expected);
}

TEST_F(LiveValues, AreTakenWithoutChangingTheSegment) {
  const Segment segment({{kPump, 12.5}, {kPump, 13.5}});
  const SegmentWords words = segment.Attach();
  const auto copy = [&words] {
    std::array<std::uint32_t, 1 + 2 * kWordsOfARecord> content{};
    for (std::size_t i = 0; i < content.size(); ++i) content.at(i) = words[i];
    return content;
  };
  const auto before = copy();
  Values values;

  Snapshot(values);

  EXPECT_EQ(copy(), before);
}

TEST_F(LiveValues, AreTakenWhileTheAcquisitionSideWrites) {
  Segment segment({{kPump, 1}, {kTank, 1}});
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (int i = 0; !done; ++i) segment.Set(kPump, i);
  });

  int complete = 0;
  for (int i = 0; i < 500; ++i) {
    Values values;
    if (Snapshot(values) == 0 && values.size() == 2 && values[kTank] == 1) ++complete;
  }
  done = true;
  writer.join();

  EXPECT_EQ(complete, 500);
}

TEST_F(LiveValues, AreTakenOnTwoThreadsAtOnce) {
  const Segment segment({{kPump, 12.5}, {kTank, 1}});
  const auto takeMany = [](int& complete) {
    for (int i = 0; i < 200; ++i) {
      Values values;
      if (Snapshot(values) == 0 && values == Values{{kPump, 12.5}, {kTank, 1}}) ++complete;
    }
  };
  std::array<int, 2> complete{};

  std::thread other(takeMany, std::ref(complete[1]));
  takeMany(complete[0]);
  other.join();

  EXPECT_EQ(complete, (std::array{200, 200}));
}

TEST_F(LiveValues, LeaveTheSegmentDetached) {
  const Segment segment({{kPump, 1}});
  const int before = Attached();
  Values values;

  Snapshot(values);

  EXPECT_EQ(before, 1);
  EXPECT_EQ(Attached(), before);
}

TEST_F(LiveValues, AreNotTakenWithoutASegment) {
  Values values;

  const int result = Snapshot(values);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(values, IsEmpty());
  EXPECT_EQ(shmget(kLiveValueKey, 0, 0), -1);  // the service makes none
}

TEST_F(LiveValues, AreNotTakenFromASegmentThatCannotBeAttached) {
  const Segment segment({{kPump, 1}});
  test::FailCalls(Call::kShmat);
  Values values;

  const int result = Snapshot(values);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(values, IsEmpty());
}

// Attaching asks for write access too, although nothing is ever written.
TEST_F(LiveValues, AreNotTakenFromASegmentThatMayOnlyBeRead) {
  const int id = shmget(kLiveValueKey, 4096, IPC_CREAT | IPC_EXCL | 0444);
  ASSERT_NE(id, -1);
  Values values;

  const int result = Snapshot(values);

  const int error = errno;
  shmctl(id, IPC_RMID, nullptr);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(error, EACCES);
  EXPECT_THAT(values, IsEmpty());
}

TEST_F(LiveValues, AreNotTakenFromAnEmptyTable) {
  const Segment segment({{kPump, 1}}, {.count = 0});
  Values values{{7, 8}};

  const int result = Snapshot(values);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(values, ElementsAre(Pair(7, 8)));
  EXPECT_EQ(Attached(), 1);
}

TEST_F(LiveValues, AreNotTakenWithoutMemoryForTheCopy) {
  const Segment segment({{kPump, 1}});
  test::FailCalls(Call::kCalloc);
  Values values{{7, 8}};

  const int result = Snapshot(values);

  EXPECT_EQ(result, -1);
  EXPECT_THAT(values, ElementsAre(Pair(7, 8)));
  EXPECT_EQ(Attached(), 1);
}

TEST_F(LiveValues, AreTakenAgainAfterAFailure) {
  const Segment segment({{kPump, 1}});
  Values values;
  test::FailCalls(Call::kShmat);
  Snapshot(values);

  const int result = Snapshot(values);

  EXPECT_EQ(result, 0);
  EXPECT_THAT(values, ElementsAre(Pair(kPump, 1)));
}

TEST_F(LiveValues, ReportNeitherSuccessNorFailure) {
  Values values;
  testing::internal::CaptureStdout();

  Snapshot(values);
  const Segment segment({{kPump, 1}});
  Snapshot(values);

  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_THAT(test::TextLog(), IsEmpty());
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(LiveValues, GiveNoDeviceATime) {
  const Segment segment({{kPump, 1}});
  Values values;
  Snapshot(values);

  for (std::uint32_t devNo = 0; devNo <= 0xFFFF; ++devNo) {
    EXPECT_EQ(GetCRealDataInstance().GetOldTime(static_cast<std::uint16_t>(devNo)), 0U) << devNo;
  }
}

}  // namespace
