// Owns the writing of the live-value segment: the System V shared memory through which the
// acquisition side gives the current value of every point to the rest of the gateway.
//
// Layout, little-endian: a 32-bit record count, then that many records of 24 bytes. There is no
// lock between writer and readers: a reader may copy a record while it is being rewritten.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

inline constexpr key_t kSegmentKey = 0x10903;
inline constexpr std::size_t kCountBytes = 4;        // the count word before the records
inline constexpr std::uint32_t kQualityGood = 0xC0;  // the value is current and trusted

struct PointRecord {
  std::uint32_t dataId = 0;              // point identifier
  std::uint32_t quality = kQualityGood;  // for the acquisition side's own use
  double value = 0;                      // current value, in the point's engineering unit
  std::int64_t stamp = 0;                // Unix seconds of the last write; for its own use
};
static_assert(sizeof(PointRecord) == 24);
static_assert(offsetof(PointRecord, dataId) == 0);
static_assert(offsetof(PointRecord, quality) == 4);
static_assert(offsetof(PointRecord, value) == 8);
static_assert(offsetof(PointRecord, stamp) == 16);

// What is to stand in one record.
struct SegmentPoint {
  std::uint32_t dataId = 0;
  double value = 0;
};

// A segment that does not fit its records. Each member replaces what the number of points would
// give. Records that do not fit are written as far as they fit.
struct SegmentShape {
  std::optional<std::uint32_t> count = std::nullopt;  // the count word
  std::optional<std::size_t> bytes = std::nullopt;    // the segment's size, at least 1
};

// What to do with a segment that an earlier writer has left under the key and nobody uses.
enum class StaleSegment {
  kTakeOver,  // write into it when it has the right size, else throw
  kReplace,   // remove it and start a new one
};

struct SegmentDetacher {
  void operator()(volatile std::uint32_t* words) const;
};
// An attached segment as 32-bit words.
using SegmentWords = std::unique_ptr<volatile std::uint32_t[], SegmentDetacher>;

// The system's number of a segment of ours. It removes the segment with the object; the memory
// stays for those who are still attached.
class SegmentId {
 public:
  explicit SegmentId(int id) : m_id(id) {}
  ~SegmentId();
  SegmentId(const SegmentId&) = delete;
  SegmentId& operator=(const SegmentId&) = delete;

  int Get() const { return m_id; }

 private:
  int m_id;
};

// The segment under kSegmentKey: `Segment segment({{0x01031123, 12.5}});`. One thread at a time may
// call it; others read the memory without a lock. It holds the segment and one attachment to it,
// and removes both with the object.
class Segment {
 public:
  // Makes the segment and writes the points into it, in their order. Throws std::runtime_error with
  // a readable reason when a segment under the key is in use, when a stale one is in the way, or
  // when the system gives none. Then it leaves no segment behind.
  explicit Segment(const std::vector<SegmentPoint>& points, const SegmentShape& shape = {},
                   StaleSegment stale = StaleSegment::kTakeOver);
  ~Segment() = default;
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;

  // Rewrites the records in place, one after the other, with the current time as their stamp.
  // Points beyond the segment's end are not written; the count word and the size stay as they are.
  void Write(const std::vector<SegmentPoint>& points);

  // Rewrites the first record that holds `dataId`. False when none does.
  bool Set(std::uint32_t dataId, double value);

  // Writes the count word, which tells readers how many records there are.
  void SetCount(std::uint32_t count);

  std::size_t Bytes() const { return m_bytes; }
  // A further attachment to the same memory, at an address of its own; it may outlive the object.
  SegmentWords Attach() const;

  // Makes sure that there is no segment under the key. Throws std::runtime_error when there is one,
  // unless it is stale and `stale` says to replace it.
  static void RequireNone(StaleSegment stale);

 private:
  std::size_t m_bytes;
  SegmentId m_id;
  SegmentWords m_words;
};

// Stores one record word by word, in ascending order, as far as it lies within the first `bytes` of
// the segment at `words`. The two halves of a value are stored one after the other: a reader in
// between gets a torn value.
void StoreRecord(const SegmentWords& words, std::size_t bytes, std::size_t index,
                 const PointRecord& record);
