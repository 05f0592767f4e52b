// Owns the live-value segment as its writer sees it: the System V shared memory through which the
// acquisition side hands the current value of every point to the rest of the gateway.
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

// What it is for: what is to stand in one record.
struct SegmentPoint {
  std::uint32_t dataId = 0;
  double value = 0;
};

// What it is for: a segment that does not fit its records. Each member replaces what would follow
// from the number of points; records that do not fit whole are written as far as they fit.
struct SegmentShape {
  std::optional<std::uint32_t> count = std::nullopt;  // the count word
  std::optional<std::size_t> bytes = std::nullopt;    // the segment's size, at least 1
};

// What to do about a segment that an earlier writer left under the key, with nobody attached.
enum class StaleSegment {
  kTakeOver,  // write into it when it has the right size, refuse otherwise
  kReplace,   // remove it and start a new one
};

struct SegmentDetacher {
  void operator()(volatile std::uint32_t* words) const;
};
// An attached segment, seen as the 32-bit words it consists of.
using SegmentWords = std::unique_ptr<volatile std::uint32_t[], SegmentDetacher>;

// What it is for: the system's number of a segment of ours.
// Threads: the one that holds it. Owns: the segment, which is removed with the object; its memory
// stays for those still attached.
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

// What it is for: the segment under kSegmentKey, there as long as the object is; tests write
// `Segment segment({{0x01031123, 12.5}});`.
// Threads: one at a time. Other processes and other attachments read without asking.
// Owns: the segment and one attachment to it; both go with the object.
class Segment {
 public:
  // Makes the segment and writes the points into it, in their order. Throws std::runtime_error with
  // a readable reason when a segment is in use under the key, when a stale one stands in the way,
  // or when the system gives none; then none of ours is left behind.
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

  std::size_t Bytes() const { return m_bytes; }
  // A further attachment to the same memory, at an address of its own; it may outlive the object.
  SegmentWords Attach() const;

  // Makes sure that no segment stands under the key. Throws std::runtime_error when one does,
  // unless it is stale and `stale` says to remove it.
  static void RequireNone(StaleSegment stale);

 private:
  std::size_t m_bytes;
  SegmentId m_id;
  SegmentWords m_words;
};

// Stores one record word by word, in ascending order, as far as it lies within the first `bytes` of
// the segment at `words`. The value's two halves are stored apart: whoever reads in between gets a
// torn value.
void StoreRecord(const SegmentWords& words, std::size_t bytes, std::size_t index,
                 const PointRecord& record);
