#include "judge/range.h"

#include <gtest/gtest.h>

#include <vector>

using status::Range;

namespace {

struct RangeRow {
  const char* name;
  const char* text;
  std::vector<double> alarms;
  std::vector<double> calm;
};

const RangeRow kRangeRows[] = {
    {"an end alone", "10", {-0.1, -5, 10.1}, {0, 5, 10}},
    {"a start", "10:", {9.9, -20}, {10, 1e12}},
    {"minus infinity", "~:10", {10.5}, {-1e12, 10}},
    {"outside", "10:20", {9, 21}, {10, 15, 20}},
    {"inside", "@10:20", {10, 15, 20}, {9.99, 20.01}},
    {"inside from 0", "@10", {0, 10}, {-1, 11}},
    {"a missing start", ":10", {-1, 11}, {0, 10}},
    {"decimals", "1.5:2.5", {1.49, 2.51}, {1.5, 2.5}},
    {"negative", "-2:-.5", {-3, 0}, {-2, -1, -0.5}},
    {"one value", "5:5", {4.9, 5.1}, {5}},
    {"everything", "~:", {}, {-1e12, 0, 1e12}},
};

}  // namespace

TEST(Range, AlarmsAsMonitoringPluginsDo) {
  for (const RangeRow& row : kRangeRows) {
    const auto range = Range::Parse(row.text);
    ASSERT_TRUE(range) << row.name;
    for (const double value : row.alarms) EXPECT_TRUE(range->Alarms(value)) << row.name << value;
    for (const double value : row.calm) EXPECT_FALSE(range->Alarms(value)) << row.name << value;
    EXPECT_EQ(range->Text(), row.text);
  }
}

TEST(Range, RefusesWhatIsNoRange) {
  for (const char* text :
       {"",     "@",   "x",   "10s", "1:2:3", "20:10", "~", ":~", "10:~", "@@1", "1e3",
        "0x10", "nan", "inf", " 1",  "1 ",    "1..2",  "-", ".",  "--1",  "1,5"})
    EXPECT_FALSE(Range::Parse(text)) << text;
  EXPECT_FALSE(Range::Parse(std::string(400, '9'))) << "too large";
}

TEST(Range, MakesARangeOfALimit) {
  for (const auto& [limit, text] :
       {std::pair{600.0, "600"}, {1e7, "10000000"}, {2.5, "2.500"}, {-5, "~:-5"}}) {
    const Range range = Range::Above(limit);
    EXPECT_EQ(range.Text(), text);
    EXPECT_TRUE(range.Alarms(limit + 1)) << text;
    EXPECT_FALSE(range.Alarms(limit)) << text;
    EXPECT_EQ(range.Alarms(-1000), Range::Parse(text)->Alarms(-1000)) << text;
  }
}
