// The real-data worker: when it packs, and what becomes of it.
#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <memory>

#include "acquisition/segment.h"
#include "schedule/workers.h"
#include "support/logs.h"
#include "util/paths.h"
#include "workerfixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

namespace {

using test::LocalTimeOf;
using test::PausesText;
using test::ReadLedger;
using test::RunToItsEnd;
using test::RunToPause;

constexpr char kRealData[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata";
// What packing itself pauses for: the device, the channel, the compression.
constexpr char kPacking[] = "0.1 0.5 1";

class RealDataWorker : public test::WorkerTest {
 protected:
  Segment m_segment{{{test::kLevel, 12.5}, {test::kFlow, -0.0004}}};
  std::int32_t m_interval = 300;
};

// One cycle: when it starts, its pauses before and after packing, the file that comes of it.
struct Cycle {
  const char* name;
  std::time_t start;
  std::int32_t interval;
  const char* wait;  // before, with a blank behind it
  int rest;          // after
  const char* file;
};

void PrintTo(const Cycle& cycle, std::ostream* out) {
  *out << cycle.start << " s, every " << cycle.interval << " s";
}

// The zone of the tests, eight hours east, is not set yet when the rows are built.
constexpr std::time_t On7March(int hour, int minute, int second) {
  constexpr std::time_t kMidnight = 1709740800;  // 2024-03-07 00:00:00 there
  return kMidnight + hour * 3600 + minute * 60 + second;
}

class NearestBoundary : public RealDataWorker, public ::testing::WithParamInterface<Cycle> {};

TEST_P(NearestBoundary, StampsTheCycle) {
  const Cycle& cycle = GetParam();
  test::SetTime(cycle.start);
  m_interval = cycle.interval;

  RunToPause(HandleRealData, m_interval, *cycle.wait == '\0' ? 4 : 5);

  EXPECT_EQ(PausesText(), cycle.wait + std::string(kPacking) + " " + std::to_string(cycle.rest));
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair(cycle.file, "2 0")));
  EXPECT_TRUE(test::Exists(std::string(paths::kDataFiles) + "/" + cycle.file));
}

INSTANTIATE_TEST_SUITE_P(Times, NearestBoundary,
                         ::testing::Values(Cycle{"OnIt", On7March(12, 5, 0), 300, "", 299,
                                                 "realdata/7/S20240307120500.tar.gz"},
                                           Cycle{"JustBehindIt", On7March(12, 0, 1), 300, "", 298,
                                                 "realdata/7/S20240307120000.tar.gz"},
                                           Cycle{"NearerToTheOneBehind", On7March(12, 1, 10), 300,
                                                 "", 229, "realdata/7/S20240307120000.tar.gz"},
                                           Cycle{"OneSecondBeforeHalf", On7March(12, 2, 29), 300,
                                                 "", 150, "realdata/7/S20240307120000.tar.gz"},
                                           Cycle{"ExactlyHalf", On7March(12, 2, 30), 300, "150 ",
                                                 299, "realdata/7/S20240307120500.tar.gz"},
                                           Cycle{"NearerToTheOneAhead", On7March(12, 3, 10), 300,
                                                 "110 ", 299, "realdata/7/S20240307120500.tar.gz"},
                                           Cycle{"JustBeforeIt", On7March(12, 4, 59), 300, "1 ",
                                                 299, "realdata/7/S20240307120500.tar.gz"},
                                           // an odd interval has no second at its half
                                           Cycle{"OddIntervalBeforeHalf", 28028373LL * 61 + 30, 61,
                                                 "", 30, "realdata/6/S20240306211233.tar.gz"},
                                           Cycle{"OddIntervalBehindHalf", 28028373LL * 61 + 31, 61,
                                                 "30 ", 60, "realdata/6/S20240306211334.tar.gz"},
                                           Cycle{"BeforeMidnight", On7March(23, 57, 30), 300,
                                                 "150 ", 299, "realdata/8/S20240308000000.tar.gz"},
                                           Cycle{"BehindMidnight", On7March(24, 1, 0), 300, "", 239,
                                                 "realdata/8/S20240308000000.tar.gz"},
                                           Cycle{"AtTheEndOfAMonth", On7March(24 * 24 + 23, 59, 30),
                                                 60, "30 ", 59,
                                                 "realdata/1/S20240401000000.tar.gz"},
                                           Cycle{"LastOfAMonth", On7March(24 * 24 + 23, 59, 10), 60,
                                                 "", 49, "realdata/31/S20240331235900.tar.gz"}),
                         [](const auto& test) { return test.param.name; });

TEST_F(RealDataWorker, WakesOnItsBoundariesFromThenOn) {
  test::SetTime(LocalTimeOf(2024, 3, 7, 12, 1, 10));

  RunToPause(HandleRealData, m_interval, 12);

  // Fractions of a second add up: the second cycle ends 2.2 s behind its boundary.
  EXPECT_EQ(PausesText(), "0.1 0.5 1 229 0.1 0.5 1 298 0.1 0.5 1 299");
  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("realdata/7/S20240307120000.tar.gz", "2 0"),
                                        Pair("realdata/7/S20240307120500.tar.gz", "2 0"),
                                        Pair("realdata/7/S20240307121000.tar.gz", "2 0")));
}

TEST_F(RealDataWorker, LeavesTheArchiveAloneInItsDayDirectory) {
  RunToPause(HandleRealData, m_interval, 4);

  EXPECT_THAT(test::List(std::string(kRealData) + "/7"), ElementsAre("S20240307120000.tar.gz"));
}

std::string Output(const std::string& command) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::array<char, 4096> text{};
  const std::size_t length = std::fread(text.data(), 1, text.size(), pipe.get());
  return {text.data(), length};
}

TEST_F(RealDataWorker, PacksWhatTheSegmentHolds) {
  RunToPause(HandleRealData, m_interval, 4);

  EXPECT_EQ(Output(std::string("tar -xzOf ") + kRealData + "/7/S20240307120000.tar.gz"),
            R"({"sn":"S1","data":[{"groupId":1,"eqpId":3,"timeMark":"2024-03-07 12:00:00",)"
            R"("values":[{"pointId":"004D","value":"12.500"},)"
            R"({"pointId":"004E","value":"-0.000"}]}]})");
}

TEST_F(RealDataWorker, ReportsNothingButTheBuildersSuccess) {
  RunToPause(HandleRealData, m_interval, 4);

  EXPECT_THAT(test::TextLog(),
              ElementsAre(test::LogRecord{"INFO",
                                          "CreateRealDataJsonFile /media/mmcblk0p1/Cloud/JsonFiles/"
                                          "realdata/7/S20240307120000.tar.gz Success"}));
  EXPECT_THAT(test::DatabaseLog(), IsEmpty());
}

TEST_F(RealDataWorker, ReadsItsIntervalAfreshEveryCycle) {
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    if (++pauses == 1) m_interval = 600;
    if (pauses == 8) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRealData, m_interval);

  EXPECT_EQ(PausesText(), "0.1 0.5 1 599 0.1 0.5 1 598");
}

TEST_F(RealDataWorker, ForgetsTheValuesOfTheCycleBefore) {
  int pauses = 0;
  test::OnPause([&](test::Pause) {
    // While it sleeps to 12:05:00, the second point goes.
    if (++pauses == 4) m_segment.Write({{test::kLevel, 1}, {test::kLevel, 1}});
    if (pauses == 5) throw test::WorkerEnded{};
  });

  RunToItsEnd(HandleRealData, m_interval);

  EXPECT_THAT(ReadLedger(), ElementsAre(Pair("realdata/7/S20240307120000.tar.gz", "2 0")));
  EXPECT_THAT(test::TextLog("INFO").back(),
              "CreateRealDataJsonFile /media/mmcblk0p1/Cloud/JsonFiles/realdata/7/"
              "S20240307120500.dat Error, can't find id: 0103004e");
}

}  // namespace
