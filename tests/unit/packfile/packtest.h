// What the tests of the data files share: a catalogue, a serial number, events, a tar that fails.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "packfile/records.h"
#include "support/clock.h"
#include "support/gateway.h"

namespace test {

inline constexpr char kRealDataDay[] = "/media/mmcblk0p1/Cloud/JsonFiles/realdata/7";
inline constexpr char kAlarmDay[] = "/media/mmcblk0p1/Cloud/JsonFiles/alarmdata/7";
inline constexpr char kRecalls[] = "/media/mmcblk0p1/Cloud/JsonFiles/calldata";

inline constexpr Pause kBeforeAnAttempt{1000000};

// Adds a named point to the process's channel catalogue.
void AddPoint(std::uint32_t dataId, const std::string& name = "");

// An alarm event of 2024-03-07 11:59:30, as the event reader hands it over.
struct AlarmEvent {
  std::uint32_t dataId = 0;
  std::time_t time = 1709783970;
  double threshold = 0;
  double value = 0;
  std::int32_t type = 0;
  std::int32_t grade = 0;
  std::int32_t upFlag = 0;

  operator Alarm_Data_Para() const {  // NOLINT(google-explicit-constructor)
    return {static_cast<std::int32_t>(time),
            static_cast<std::int32_t>(dataId),
            threshold,
            value,
            type,
            grade,
            upFlag};
  }
};

// The texts under a key of a document, in their order.
std::vector<std::string> Texts(const std::string& document, const std::string& key);

// Puts a shell script in the place of tar. `$2` is the archive; `real_tar "$@"` does the real work.
void ReplaceTar(const std::string& script);

// What a shell command prints.
std::string Shell(const std::string& command);
// The content of an archive's one member.
std::string Unpack(const std::string& archive);

// Gives each test the serial number BR0042, an empty catalogue and the directories of the day.
class PackTest : public GatewayTest {
 protected:
  void SetUp() override;
  void TearDown() override;

 private:
  std::string m_path;  // where commands are looked for
};

}  // namespace test
