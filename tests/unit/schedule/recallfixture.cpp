#include "recallfixture.h"

#include <array>
#include <cstdio>
#include <memory>

#include "schedule/workers.h"
#include "support/historydatabase.h"

namespace test {
namespace {

constexpr std::uint32_t kPoint = 0x0207004D;
constexpr std::chrono::seconds kInterval{77};  // which no other pause of the worker is

}  // namespace

std::string Ordered(int sequence, const std::string& device) {
  return HttpAnswer(200, R"({"status":0,"message":"ok","data":[{"sn":"S1","id":)" +
                             std::to_string(sequence) + R"(,"devs":[{"groupId":"2","eqpId":")" +
                             device +
                             R"(","ids":[{"pointId":"004D","beginTime":"2024-03-07 10:00:00",)"
                             R"("endTime":"2024-03-07 10:01:00"}]}]}]})");
}

std::string NothingOrdered() {
  return HttpAnswer(200, R"({"status":0,"message":"ok","data":[]})");
}

std::string Repeated(int sequence, int times) {
  const std::string number = std::to_string(sequence);
  return "Recall receive the same seq: " + number + "==" + number +
         " times:" + std::to_string(times) + ", Will recreate file after 3 times\r\n";
}

std::string UnpackRecall(const std::string& name) {
  const std::string command = std::string("tar -xzOf ") + kRecalls + "/" + name;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::array<char, 4096> text{};
  const std::size_t length = std::fread(text.data(), 1, text.size(), pipe.get());
  return {text.data(), length};
}

void RecallWorkerTest::SetUp() {
  WorkerTest::SetUp();
  SetTime(LocalTimeOf(2024, 3, 7, 12, 0, 10));
  const auto ten = LocalTimeOf(2024, 3, 7, 10);
  HistoryDatabase().Series(kPoint, ten, ten + 60);
}

void RecallWorkerTest::Poll(int polls) {
  OnPause([polls, done = std::make_shared<int>(0)](Pause pause) {
    if (pause == kInterval && ++*done == polls) throw WorkerEnded{};
  });
  RunToItsEnd(HandleRecall, m_interval);
}

}  // namespace test
