// What the tests of alarm-data files share: fifty known points, a burst of events, the archives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "packtest.h"
#include "support/logs.h"

namespace test {

inline constexpr char kAlarms[] = "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/7";
inline constexpr std::uint32_t kFirstPoint = 0x01030001;  // "Point0"; the others follow it
inline constexpr std::uint32_t kUnknownPoint = 0x0C030100;

// The pause between an alarm file's naming and its writing.
inline constexpr Pause kBeforeTheText{50000};

// The path of a file in the directory of the day, and of the archive of second 0 to 9 behind noon.
std::string AlarmPath(const std::string& name);
std::string AlarmArchive(int second);

// The line that tells of an archive's success.
LogRecord Succeeded(const std::string& archive);

// So many events, of points that follow each other.
Alarm_Data_Struct AlarmEvents(std::size_t count);
// The points of an archive's events, in their order.
std::vector<std::string> PointsOf(const std::string& archive);

// What it is for: tests of alarm-data files, with their directory and a catalogue of fifty points.
class AlarmFileTest : public PackTest {
 protected:
  void SetUp() override;

  static Packed PackAlarms(const Alarm_Data_Struct& events);
};

}  // namespace test
