#include "datasource/realdata.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstring>
#include <memory>
#include <optional>
#include <span>

#include "util/file.h"

namespace {

constexpr std::size_t kCountBytes = sizeof(std::uint32_t);

struct SegmentDetacher {
  void operator()(const void* segment) const { shmdt(segment); }
};
using Segment = std::unique_ptr<const void, SegmentDetacher>;

Segment Attach(int id) {
  const void* address = shmat(id, nullptr, 0);
  return Segment(reinterpret_cast<std::intptr_t>(address) == -1 ? nullptr : address);
}

std::size_t SegmentBytes(int id) {
  shmid_ds status{};
  return shmctl(id, IPC_STAT, &status) == 0 ? status.shm_segsz : 0;
}

// The count word, or 0 when the segment does not hold as many records as it promises.
std::size_t RecordCount(const void* segment, std::size_t bytes) {
  if (bytes < kCountBytes) return 0;
  std::uint32_t count = 0;
  std::memcpy(&count, segment, sizeof(count));
  return count <= (bytes - kCountBytes) / sizeof(ST_LIVE_RECORD) ? count : 0;
}

struct Records {
  util::ZeroedArray<ST_LIVE_RECORD> first;
  std::size_t count;
};

// A private copy of the records. The segment is attached for this one copy only.
std::optional<Records> CopyRecords() {
  const int id = shmget(kLiveValueKey, 0, 0);
  if (id == -1) return std::nullopt;
  const Segment segment = Attach(id);
  if (!segment) return std::nullopt;
  const std::size_t count = RecordCount(segment.get(), SegmentBytes(id));
  if (count == 0) return std::nullopt;

  Records records{.first = util::MakeZeroed<ST_LIVE_RECORD>(count), .count = count};
  if (!records.first) return std::nullopt;
  std::memcpy(records.first.get(), static_cast<const char*>(segment.get()) + kCountBytes,
              count * sizeof(ST_LIVE_RECORD));
  return records;
}

}  // namespace

int CRealData::GetRealData(std::map<std::uint32_t, double>* out) {
  const auto records = CopyRecords();
  if (!records) return -1;
  for (const auto& record : std::span(records->first.get(), records->count)) {
    // The acquisition side usually writes in rising order, which makes the end the right hint.
    const std::uint32_t dataId = record.dataId;
    out->try_emplace(out->end(), dataId, record.value);
  }
  return 0;
}

std::uint32_t CRealData::GetOldTime(std::uint16_t devNo) const {
  const auto found = m_oldTimes.find(devNo);
  return found == m_oldTimes.end() ? 0 : found->second;
}

CRealData& GetCRealDataInstance() {
  static CRealData instance;
  return instance;
}
