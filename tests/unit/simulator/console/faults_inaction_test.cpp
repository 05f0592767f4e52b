// The faults while one of their actions takes long.
#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "console/faults/faults.h"
#include "unit/simulator/console/fakebench.h"

namespace {

// Filling its card takes until it is let go.
struct SlowBench : test::FakeBench {
  void FillCard() override {
    begun.set_value();
    goOn.get_future().wait();
    FakeBench::FillCard();
  }
  std::promise<void> begun{};
  std::promise<void> goOn{};
};

TEST(FaultsInAction, TellTheirState) {
  SlowBench bench;
  console::Faults faults(bench);
  auto start = std::async(std::launch::async, [&] { faults.Start("fill-card", {}, 90); });
  bench.begun.get_future().wait();

  const auto look = std::async(std::launch::async, [&] {
    faults.Look({});
    console::JsonReply([&](console::JsonWriter& json) {
      json.StartObject();
      faults.WriteState(json);
      json.EndObject();
    });
  });
  EXPECT_EQ(look.wait_for(std::chrono::seconds(5)), std::future_status::ready);

  bench.goOn.set_value();
  start.get();
}

}  // namespace
