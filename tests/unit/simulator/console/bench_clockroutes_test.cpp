// The clock in the console's API.
#include "console/bench/clockroutes.h"

#include <gtest/gtest.h>

namespace {

using console::Clock;
using console::Reply;

class BenchClockRoutes : public ::testing::Test {
 protected:
  void SetUp() override { console::AddClockRoutes(m_clock, m_router); }
  Reply Post(const char* json) {
    rapidjson::Document body;
    body.Parse(json);
    return m_router.Posts().at("/api/clock")({.query = {}, .body = &body});
  }

  Clock m_clock{"/tmp/clock", 1'700'000'000, 10};
  console::Router m_router{};
};

TEST_F(BenchClockRoutes, SetsTheSpeed) {
  EXPECT_EQ(Post("{\"speed\":20}").status, 200);

  EXPECT_EQ(m_clock.Speed(), 20);
}

TEST_F(BenchClockRoutes, StepsTheClock) {
  EXPECT_EQ(Post("{\"step_s\":-3600}").status, 200);

  EXPECT_NEAR(m_clock.Exact(), 1'700'000'000 - 3600, 60);
}

TEST_F(BenchClockRoutes, RefusesWhatMakesNoSense) {
  for (const char* json : {"{}", "{\"speed\":0}", "{\"speed\":61}", "{\"speed\":\"fast\"}",
                           "{\"step_s\":1.5}", "{\"step_s\":9999999}"}) {
    EXPECT_EQ(Post(json).status, 400) << json;
  }
  EXPECT_EQ(m_clock.Speed(), 10);
}

}  // namespace
