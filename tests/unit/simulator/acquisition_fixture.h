// The live-value segment and the card's databases seen from outside, and plants to publish.
// Layouts, paths and tables are spelled out here once more, on purpose.
#pragma once

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/configs.h"
#include "support/databasefile.h"
#include "support/files.h"

namespace test {

inline constexpr key_t kRawKey = 0x10903;
inline constexpr char kTemplatePath[] = "/tessel/Config/Channel-template.xml";
inline constexpr char kMarchEvents[] = "/media/mmcblk0p1/202403_event.db";
inline constexpr char kHistoryPath[] = "/media/mmcblk0p1/demand_history.db";
inline constexpr std::int64_t kNoon = 1709784000;  // 2024-03-07 12:00 local time

// The segment's bytes; empty when there is no segment.
inline std::string RawSegment() {
  const int id = shmget(kRawKey, 0, 0);
  if (id < 0) return {};
  shmid_ds status{};
  shmctl(id, IPC_STAT, &status);
  const void* const address = shmat(id, nullptr, SHM_RDONLY);
  std::string bytes(static_cast<const char*>(address), status.shm_segsz);
  shmdt(address);
  return bytes;
}

// What stands at an offset of those bytes.
template <typename T>
T At(const std::string& bytes, std::size_t offset) {
  T value{};
  EXPECT_LE(offset + sizeof(T), bytes.size());
  if (offset + sizeof(T) <= bytes.size()) std::memcpy(&value, &bytes[offset], sizeof(T));
  return value;
}

// Runs inside the sandbox only. Each test starts without configuration, on an empty card, eight
// hours east of Greenwich, and starts and ends without a segment.
class AcquisitionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
    Empty("/tessel");
    Empty("/media/mmcblk0p1");
    setenv("TZ", "CST-8", 1);
    tzset();
    RemoveSegment();
  }
  void TearDown() override { RemoveSegment(); }

  // Channel 1, device 3: two AI, one DI, one ACC. Channel 2, device 4: one DO, one AO.
  static void WriteSmallPlant() {
    const DeviceFile meter = DeviceFile("meter")
                                 .Node("AI", 1, "Voltage", "V")
                                 .Node("AI", 2, "Current", "A")
                                 .Node("DI", 0x123, "Door", "")
                                 .Node("ACC", 5, "Energy", "kWh");
    const DeviceFile drive =
        DeviceFile("drive").Node("DO", 1, "Run", "").Node("AO", 0xB01, "Frequency", "Hz");
    meter.Write();
    drive.Write();
    ChannelTemplate().Channel(1).Device(3, meter.Path()).Channel(2).Device(4, drive.Path()).Write();
  }

 private:
  static void RemoveSegment() {
    const int id = shmget(kRawKey, 0, 0);
    if (id >= 0) shmctl(id, IPC_RMID, nullptr);
  }
};

}  // namespace test
