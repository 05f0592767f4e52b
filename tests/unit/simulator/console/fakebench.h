// A bench that only notes what a fault does to it.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "console/faults/actions.h"
#include "util/json.h"

namespace test {

class FakeBench : public console::Actions {
 public:
  // All that a fault can change.
  struct World {
    std::map<std::string, std::string> standing{};  // behaviour by endpoint
    std::string redirect{};
    std::set<std::string> trouble{};  // of the acquisition side
    std::set<std::string> running{"acquisition", "cloud", "service"};
    double speed = 10;
    long stepped = 0;
    bool isLocked = false;
    bool isFull = false;
    bool isPulled = false;

    bool operator==(const World&) const = default;
  };
  World world{};
  std::vector<std::string> orders{};  // to cloud and acquisition side, without questions
  std::vector<std::string> kills{};
  std::string trouble{};  // not empty: every action throws it
  std::string reason{};   // why there are no faults
  std::string refused{};  // an endpoint for which the cloud takes no behaviour
  bool isDeaf = false;    // the acquisition side runs, but takes no orders yet

  std::string Cloud(const std::string& text) override {
    const rapidjson::Document order = Read(text);
    const std::string what = order["do"].GetString();
    if (what == "stand" && refused == order["endpoint"].GetString()) throw std::runtime_error("no");
    if (what == "stand")
      world.standing[order["endpoint"].GetString()] = order["behaviour"].GetString();
    if (what == "normal") world.standing.erase(order["endpoint"].GetString());
    if (what == "redirect") world.redirect = order["to"].GetString();
    if (world.redirect == "127.0.0.1:8080") world.redirect.clear();  // its own address
    std::string standing;
    for (const auto& [endpoint, behaviour] : world.standing) {
      standing += (standing.empty() ? "\"" : ",\"") + endpoint + "\":\"" + behaviour + "\"";
    }
    return R"({"ok":true,"standing":{)" + standing + R"(},"redirect":")" + world.redirect + "\"}";
  }
  std::string Acquisition(const std::string& text) override {
    if (isDeaf) throw std::runtime_error("nobody listens");
    const rapidjson::Document order = Read(text);
    const std::string what = order["do"].GetString();
    if (what == "empty" || what == "leave-out") world.trouble.insert(what);
    if (what == "normal") world.trouble.clear();
    return std::string(R"({"ok":true,"empty":)") +
           (world.trouble.contains("empty") ? "true" : "false") + R"(,"left_out":)" +
           (world.trouble.contains("leave-out") ? "7" : "null") + "}";
  }
  void Start(const std::string& process) override { Act(), world.running.insert(process); }
  void Stop(const std::string& process) override { Act(), world.running.erase(process); }
  void Kill(const std::string& process) override {
    Act();
    kills.push_back(process);
  }
  double Speed() override { return world.speed; }
  void SetSpeed(double factor) override { Act(), world.speed = factor; }
  void Step(long seconds) override { Act(), world.stepped += seconds; }
  std::time_t Now() override { return 1700000000; }
  void LockLedger() override { Act(), world.isLocked = true; }
  void UnlockLedger() override { Act(), world.isLocked = false; }
  void FillCard() override { Act(), world.isFull = true; }
  void EmptyCard() override { Act(), world.isFull = false; }
  void PullCard() override { Act(), world.isPulled = true; }
  void PutCard() override { Act(), world.isPulled = false; }
  std::string WhyNot(const std::string&) override { return reason; }

 private:
  void Act() const {
    if (!trouble.empty()) throw std::runtime_error(trouble);
  }
  rapidjson::Document Read(const std::string& text) {
    Act();
    rapidjson::Document order;
    order.Parse(text.c_str());
    if (!order.IsObject()) throw std::logic_error("no order: " + text);
    if (std::string(order["do"].GetString()) != "state") orders.push_back(text);
    return order;
  }
};

}  // namespace test
