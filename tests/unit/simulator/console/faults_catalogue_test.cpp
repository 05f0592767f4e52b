#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/faults/fault.h"
#include "unit/simulator/console/fakebench.h"

namespace {

using console::CheckParams;
using console::Expectation;
using console::Fault;
using console::FaultCatalogue;
using console::FaultParams;
using console::FindFault;
using console::FitTogether;
using console::Phase;
using console::StandardParams;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

// The standard parameters, and each choice.
std::vector<FaultParams> Variants(const Fault& fault) {
  std::vector<FaultParams> all = {StandardParams(fault)};
  for (const auto& param : fault.params) {
    for (const std::string& choice : param.choices) {
      all.push_back(StandardParams(fault));
      all.back()[param.name] = choice;
    }
  }
  return all;
}

bool Fit(const std::string& one, const std::string& other) {
  const Fault& first = *FindFault(one);
  const Fault& second = *FindFault(other);
  return FitTogether(first, StandardParams(first), second, StandardParams(second));
}

TEST(FaultCatalogue, HasEveryFaultOnce) {
  std::vector<std::string> names;
  for (const Fault& fault : FaultCatalogue()) names.push_back(fault.name);

  EXPECT_THAT(names,
              ElementsAre("refuse-login", "refuse-uploads", "redirect", "stall", "reset", "drip",
                          "nonsense", "trailers", "stop-acquisition", "empty-segment",
                          "unpublished-point", "alarm-burst", "lock-ledger", "fill-card",
                          "pull-card", "kill-service", "power-cut", "step-clock", "speed"));
}

TEST(FaultCatalogue, PutsEachFaultRightAgain) {
  for (const Fault& fault : FaultCatalogue()) {
    for (const FaultParams& params : Variants(fault)) {
      test::FakeBench bench;
      const console::Undo undo = fault.begin(bench, params);
      const bool isOneStroke = fault.name == "kill-service" || fault.name == "alarm-burst";

      EXPECT_EQ(bench.world == test::FakeBench::World(), isOneStroke) << fault.name;
      undo(bench);
      EXPECT_TRUE(bench.world == test::FakeBench::World()) << fault.name;
    }
  }
}

TEST(FaultCatalogue, PutsTheAcquisitionSideRightOnlyWhenItTakesOrdersAgain) {
  for (const char* name : {"stop-acquisition", "power-cut"}) {
    test::FakeBench bench;
    const console::Undo undo = FindFault(name)->begin(bench, {});
    bench.isDeaf = true;  // as a program is that has just started

    EXPECT_THROW(undo(bench), std::runtime_error) << name;
    bench.isDeaf = false;
    undo(bench);
    EXPECT_TRUE(bench.world == test::FakeBench::World()) << name;
  }
}

TEST(FaultCatalogue, StartsTheServiceAfterTheAcquisitionSideOnceThePowerIsBack) {
  test::FakeBench bench;
  const console::Undo undo = FindFault("power-cut")->begin(bench, {});
  bench.isDeaf = true;

  EXPECT_THROW(undo(bench), std::runtime_error);
  EXPECT_FALSE(bench.world.running.contains("service"));
}

TEST(FaultCatalogue, AsksTheProgramWhetherItStillDoesIt) {
  for (const Fault& fault : FaultCatalogue()) {
    if (!fault.isThere) continue;
    test::FakeBench bench;
    fault.begin(bench, StandardParams(fault));

    EXPECT_TRUE(fault.isThere(bench, StandardParams(fault))) << fault.name;
    bench.world = {};  // it was started anew
    EXPECT_FALSE(fault.isThere(bench, StandardParams(fault))) << fault.name;
  }
}

TEST(FaultCatalogue, ExpectsSomethingDuringAndAfterEachFaultAndNoLossAtTheEnd) {
  for (const Fault& fault : FaultCatalogue()) {
    for (const FaultParams& params : Variants(fault)) {
      const std::vector<Expectation> all = fault.expectations(params);
      ASSERT_THAT(all, Not(IsEmpty())) << fault.name;

      EXPECT_EQ(all.front().phase, Phase::kDuring) << fault.name;
      EXPECT_GE(std::ranges::count(all, Phase::kAfter, &Expectation::phase), 2) << fault.name;
      EXPECT_TRUE(all.back().isLast) << fault.name;
    }
  }
}

TEST(FaultCatalogue, LeavesNothingBehindWhenAFaultCannotBegin) {
  test::FakeBench bench;
  bench.refused = "calldata";

  EXPECT_THROW(FindFault("reset")->begin(bench, {}), std::runtime_error);
  EXPECT_TRUE(bench.world == test::FakeBench::World());
}

TEST(FaultCatalogue, KillsTheServiceSoThatItLogsIn) {
  test::FakeBench bench;
  FindFault("refuse-login")->begin(bench, {});

  EXPECT_THAT(bench.orders,
              ElementsAre(R"({"do":"stand","endpoint":"authorize","behaviour":"refuse"})"));
  EXPECT_THAT(bench.kills, ElementsAre("service"));
}

TEST(FaultCatalogue, OrdersHistorySoThatARecallCanBeRefused) {
  test::FakeBench bench;
  FindFault("refuse-uploads")->begin(bench, {{"kind", "calldata"}});

  ASSERT_EQ(bench.orders.size(), 2u);
  EXPECT_THAT(bench.orders[1],
              ::testing::MatchesRegex(
                  "\\{\"do\":\"order\",\"order\":\"[0-9]+:1/1:0001@....-..-.. ..:..:00\\.\\."
                  "....-..-.. ..:..:00\"\\}"));
}

TEST(FaultCatalogue, KnowsWhatFitsTogether) {
  EXPECT_TRUE(Fit("alarm-burst", "unpublished-point"));
  EXPECT_TRUE(Fit("redirect", "alarm-burst"));
  EXPECT_FALSE(Fit("stall", "reset"));                 // the same uploads
  EXPECT_FALSE(Fit("alarm-burst", "refuse-uploads"));  // the files of the burst would wait
  EXPECT_FALSE(Fit("lock-ledger", "kill-service"));    // rows that wait in memory would be lost
  EXPECT_FALSE(Fit("kill-service", "lock-ledger"));
  EXPECT_FALSE(Fit("drip", "speed"));
}

TEST(FaultParams, AreCheckedAgainstTheFault) {
  const Fault& burst = *FindFault("alarm-burst");
  const Fault& uploads = *FindFault("refuse-uploads");
  const auto check = [](const Fault& fault, const char* text) {
    rapidjson::Document given;
    given.Parse(text);
    return CheckParams(fault, &given);
  };

  EXPECT_EQ(CheckParams(burst, nullptr).at("events"), "45");
  EXPECT_EQ(check(burst, R"({"events":500})").at("events"), "500");
  EXPECT_EQ(check(uploads, R"({"kind":"alarmdata"})").at("kind"), "alarmdata");
  EXPECT_EQ(check(*FindFault("step-clock"), R"({"seconds":-3600})").at("seconds"), "-3600");
  for (const char* bad :
       {R"({"events":501})", R"({"events":0})", R"({"events":"many"})", R"({"events":1.5})",
        R"({"events":"7\"}"})", R"({"kind":"all"})", R"([])", R"({"events":null})"}) {
    EXPECT_THROW(check(burst, bad), std::invalid_argument) << bad;
  }
  EXPECT_THROW(check(uploads, R"({"kind":"nothing"})"), std::invalid_argument);
}

}  // namespace
