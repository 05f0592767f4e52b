// The live values that the gateway's acquisition side publishes in shared memory.
//
// Segment with the System V key 0x10903, little-endian, made and written by the acquisition side:
//   offset 0, 4 bytes: record count N; offset 4: N records of 24 bytes.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <map>

inline constexpr key_t kLiveValueKey = 0x10903;

#pragma pack(push, 1)
struct ST_LIVE_RECORD {
  std::uint32_t dataId;     // point identifier
  std::uint32_t reserved1;  // used by the acquisition side only
  double value;             // current value
  std::uint64_t reserved2;  // used by the acquisition side only
};
#pragma pack(pop)
static_assert(sizeof(ST_LIVE_RECORD) == 24);
static_assert(offsetof(ST_LIVE_RECORD, reserved1) == 4);
static_assert(offsetof(ST_LIVE_RECORD, value) == 8);
static_assert(offsetof(ST_LIVE_RECORD, reserved2) == 16);

// Copies the live values and tells the time of a device's last value. Any thread may call it: no
// lock is needed, as nothing writes its map. The segment is attached for one copy only.
class CRealData {
 public:
  CRealData() = default;
  CRealData(const CRealData&) = delete;
  CRealData& operator=(const CRealData&) = delete;

  // Adds the value of every point of the segment to `out`. The first record of a point counts, and
  // an entry already in `out` stays. No lock is taken against the writer: a record that is being
  // written may be torn. Returns 0. Returns -1 and leaves `out` as it is when there is no segment,
  // an empty one, one shorter than its count promises, or no memory for the copy. Logs nothing.
  int GetRealData(std::map<std::uint32_t, double>* out);
  // Unix time of the last value taken for the device, 0 when none is known. This service records
  // none, so it is always 0.
  std::uint32_t GetOldTime(std::uint16_t devNo) const;

 private:
  std::map<std::uint16_t, std::uint32_t> m_oldTimes;  // device number -> Unix time
};

// The one object of the process.
CRealData& GetCRealDataInstance();
