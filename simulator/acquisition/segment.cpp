#include "acquisition/segment.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <system_error>

#include "util/text.h"

static_assert(std::endian::native == std::endian::little, "the segment's byte order is the CPU's");

namespace {

constexpr std::size_t kWordBytes = sizeof(std::uint32_t);
constexpr std::size_t kCountWords = kCountBytes / kWordBytes;
constexpr std::size_t kRecordWords = sizeof(PointRecord) / kWordBytes;

constexpr unsigned kShownKey = kSegmentKey;  // as messages print it

// The service attaches for reading and writing, as any user.
constexpr int kAccess = 0666;

[[noreturn]] void Fail(const char* action) {
  const int error = errno;
  throw std::runtime_error(util::Format("cannot %s the segment under key 0x%x: %s", action,
                                        kShownKey, std::generic_category().message(error).c_str()));
}

// A segment that stood under the key before ours.
struct FoundSegment {
  int id = -1;
  std::size_t bytes = 0;
};

// Nothing when there is no segment under the key. Throws when somebody is attached to it: then its
// writer is still alive.
std::optional<FoundSegment> FindStale() {
  const int id = shmget(kSegmentKey, 0, 0);
  if (id < 0 && errno == ENOENT) return std::nullopt;
  if (id < 0) Fail("find");
  shmid_ds status{};
  if (shmctl(id, IPC_STAT, &status) != 0) Fail("examine");
  if (status.shm_nattch > 0) {
    throw std::runtime_error(util::Format("the segment under key 0x%x is in use by process %d",
                                          kShownKey, static_cast<int>(status.shm_cpid)));
  }
  return FoundSegment{id, status.shm_segsz};
}

void Remove(int id) {
  if (shmctl(id, IPC_RMID, nullptr) != 0) Fail("remove");
}

int MakeSegment(std::size_t bytes, StaleSegment stale) {
  const auto existing = FindStale();
  if (existing && stale == StaleSegment::kReplace) {
    Remove(existing->id);
  } else if (existing && existing->bytes != bytes) {
    throw std::runtime_error(
        util::Format("a segment of %zu bytes stands under key 0x%x, where one of %zu is needed",
                     existing->bytes, kShownKey, bytes));
  }
  const int id = shmget(kSegmentKey, bytes, IPC_CREAT | kAccess);
  if (id < 0) Fail("create");
  return id;
}

std::size_t BytesFor(const std::vector<SegmentPoint>& points, const SegmentShape& shape) {
  return shape.bytes.value_or(kCountBytes + points.size() * sizeof(PointRecord));
}

std::int64_t Now() {
  return std::time(nullptr);
}

}  // namespace

void SegmentDetacher::operator()(volatile std::uint32_t* words) const {
  shmdt(const_cast<std::uint32_t*>(words));
}

SegmentId::~SegmentId() {
  shmctl(m_id, IPC_RMID, nullptr);
}

Segment::Segment(const std::vector<SegmentPoint>& points, const SegmentShape& shape,
                 StaleSegment stale)
    : m_bytes(BytesFor(points, shape)), m_id(MakeSegment(m_bytes, stale)), m_words(Attach()) {
  Write(points);
  // The count comes last: an early reader sees an empty table, not unwritten records.
  if (m_bytes < kCountBytes) return;
  m_words[0] = shape.count.value_or(static_cast<std::uint32_t>(points.size()));
}

void Segment::Write(const std::vector<SegmentPoint>& points) {
  PointRecord record;
  record.stamp = Now();
  for (std::size_t i = 0; i < points.size(); ++i) {
    record.dataId = points[i].dataId;
    record.value = points[i].value;
    StoreRecord(m_words, m_bytes, i, record);
  }
}

bool Segment::Set(std::uint32_t dataId, double value) {
  for (std::size_t i = 0; kCountBytes + (i + 1) * sizeof(PointRecord) <= m_bytes; ++i) {
    if (m_words[kCountWords + i * kRecordWords] != dataId) continue;
    PointRecord record;
    record.dataId = dataId;
    record.value = value;
    record.stamp = Now();
    StoreRecord(m_words, m_bytes, i, record);
    return true;
  }
  return false;
}

void Segment::SetCount(std::uint32_t count) {
  if (m_bytes >= kCountBytes) m_words[0] = count;
}

SegmentWords Segment::Attach() const {
  void* address = shmat(m_id.Get(), nullptr, 0);
  if (reinterpret_cast<std::intptr_t>(address) == -1) Fail("attach");
  return SegmentWords(static_cast<volatile std::uint32_t*>(address));
}

void Segment::RequireNone(StaleSegment stale) {
  const auto existing = FindStale();
  if (!existing) return;
  if (stale == StaleSegment::kReplace) return Remove(existing->id);
  throw std::runtime_error(
      util::Format("a segment of %zu bytes stands under key 0x%x, where none is wanted",
                   existing->bytes, kShownKey));
}

void StoreRecord(const SegmentWords& words, std::size_t bytes, std::size_t index,
                 const PointRecord& record) {
  std::array<std::uint32_t, kRecordWords> content{};
  std::memcpy(content.data(), &record, sizeof(record));
  const std::size_t first = kCountWords + index * kRecordWords;
  const std::size_t end = std::min(first + kRecordWords, bytes / kWordBytes);
  for (std::size_t word = first; word < end; ++word) words[word] = content[word - first];
}
