// The live-value segment seen from outside, and a small plant to publish; for the tests of the
// simulated acquisition side. The layout is spelled out here once more, on purpose.
#pragma once

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "support/configs.h"
#include "support/files.h"

namespace test {

inline constexpr key_t kRawKey = 0x10903;
inline constexpr char kTemplatePath[] = "/tessel/Config/Channel-template.xml";

struct RawRecord {
  std::uint32_t dataId = 0;
  std::uint32_t quality = 0;
  double value = 0;
  std::int64_t stamp = 0;
};

// What it is for: a copy of the segment's bytes. Threads: any. Owns: the copy.
class RawSegment {
 public:
  explicit RawSegment(std::vector<unsigned char> bytes) : m_bytes(std::move(bytes)) {}

  // Nothing when there is no segment.
  static std::optional<RawSegment> Read() {
    const int id = shmget(kRawKey, 0, 0);
    if (id < 0) return std::nullopt;
    shmid_ds status{};
    if (shmctl(id, IPC_STAT, &status) != 0) return std::nullopt;
    const void* const address = shmat(id, nullptr, SHM_RDONLY);
    if (reinterpret_cast<std::intptr_t>(address) == -1) return std::nullopt;
    std::vector<unsigned char> bytes(status.shm_segsz);
    std::memcpy(bytes.data(), address, bytes.size());
    shmdt(address);
    return RawSegment(std::move(bytes));
  }

  std::size_t Size() const { return m_bytes.size(); }
  std::uint32_t Count() const { return At<std::uint32_t>(0); }
  RawRecord Record(std::size_t index) const {
    const std::size_t start = 4 + 24 * index;
    return {At<std::uint32_t>(start), At<std::uint32_t>(start + 4), At<double>(start + 8),
            At<std::int64_t>(start + 16)};
  }
  // As many records as lie within the segment, whatever the count word says.
  std::vector<RawRecord> Records() const {
    std::vector<RawRecord> records;
    for (std::size_t i = 0; 4 + 24 * (i + 1) <= m_bytes.size(); ++i) records.push_back(Record(i));
    return records;
  }

 private:
  template <typename T>
  T At(std::size_t offset) const {
    T value{};
    EXPECT_LE(offset + sizeof(T), m_bytes.size());
    if (offset + sizeof(T) <= m_bytes.size()) std::memcpy(&value, &m_bytes[offset], sizeof(T));
    return value;
  }

  std::vector<unsigned char> m_bytes;
};

// Overwrites the value of one record, as the segment's own writer would not. False without a
// segment.
inline bool SpoilValue(std::size_t index, double value) {
  const int id = shmget(kRawKey, 0, 0);
  void* const address = id < 0 ? nullptr : shmat(id, nullptr, 0);
  if (address == nullptr || reinterpret_cast<std::intptr_t>(address) == -1) return false;
  std::memcpy(static_cast<char*>(address) + 4 + 24 * index + 8, &value, sizeof(value));
  shmdt(address);
  return true;
}

// A segment as a writer that was killed leaves it behind: nobody is attached.
inline void LeaveStaleSegment(std::size_t bytes) {
  ASSERT_GE(shmget(kRawKey, bytes, IPC_CREAT | IPC_EXCL | 0666), 0);
}

// Returns once `happened` is true; false when that takes longer than ten seconds.
template <typename Condition>
bool Await(Condition happened) {
  const std::time_t deadline = std::time(nullptr) + 10;
  while (!happened()) {
    if (std::time(nullptr) > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

// What it is for: every test around the simulated acquisition side. It refuses to run outside the
// sandbox; each test starts without configuration, on an empty card, and ends without a segment.
class AcquisitionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
    Empty("/tessel");
    Empty("/media/mmcblk0p1");
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

// The points of that plant, in ascending order.
inline const std::vector<std::uint32_t> kSmallPlantPoints = {0x01030001, 0x01030002, 0x01030205,
                                                             0x01031123, 0x02040301, 0x0204B401};

}  // namespace test
