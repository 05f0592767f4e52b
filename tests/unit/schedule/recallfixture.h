// The recall worker with a history and a cloud that orders it.
#pragma once

#include <cstdint>
#include <string>

#include "workerfixture.h"

namespace test {

inline constexpr char kRecallCheck[] = "/eqpapi/EqpDataIfRecall";
inline constexpr char kRecallUpload[] = "/eqpapi/EqpDataRecall";
inline constexpr char kRecalls[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata";

// The cloud's answers: an order of one point of channel 2, from 10:00:00 to 10:01:00, and none. The
// device publishes no live values, which would shorten its history.
std::string Ordered(int sequence, const std::string& device = "7");
std::string NothingOrdered();

// The line that tells of a repeated order.
std::string Repeated(int sequence, int times);

// The document of an archive among the recalls.
std::string UnpackRecall(const std::string& name);

// What it is for: tests of the recall worker, every 77 s, at first at 12:00:10. The history of
// device 7 is complete.
class RecallWorkerTest : public WorkerTest {
 protected:
  void SetUp() override;

  // Runs the worker for so many polls.
  void Poll(int polls);

  std::int32_t m_interval = 77;
};

}  // namespace test
