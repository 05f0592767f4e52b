// The segment of the live values: the input is its content, byte for byte.
#include "datasource/realdata.h"

#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>

#include "support/world.h"

namespace {

constexpr std::size_t kCountBytes = 4;

// The acquisition side's segment with the given content, removed with the object.
class Segment {
 public:
  explicit Segment(std::string_view content)
      : m_id(shmget(kLiveValueKey, content.size(), IPC_CREAT | IPC_EXCL | 0600)) {
    void* const address = shmat(m_id, nullptr, 0);
    fuzz::Expect(reinterpret_cast<std::intptr_t>(address) != -1, "the segment can be made");
    std::memcpy(address, content.data(), content.size());
    shmdt(address);
  }
  ~Segment() { shmctl(m_id, IPC_RMID, nullptr); }
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;

 private:
  int m_id;
};

// The number of records that the segment promises, or 0 when it is too short for them.
std::size_t Records(std::string_view content) {
  std::uint32_t count = 0;
  if (content.size() < kCountBytes) return 0;
  std::memcpy(&count, content.data(), kCountBytes);
  return count * sizeof(ST_LIVE_RECORD) <= content.size() - kCountBytes ? count : 0;
}

// Whether each value is that of the first record of its point, bit for bit.
bool AreFirstRecords(const std::map<std::uint32_t, double>& values, std::string_view content,
                     std::size_t records) {
  std::map<std::uint32_t, double> expected;
  for (std::size_t i = 0; i < records; ++i) {
    ST_LIVE_RECORD record{};
    std::memcpy(&record, content.data() + kCountBytes + i * sizeof(record), sizeof(record));
    expected.emplace(std::uint32_t{record.dataId}, double{record.value});
  }
  return std::equal(values.begin(), values.end(), expected.begin(), expected.end(),
                    [](const auto& a, const auto& b) {
                      return a.first == b.first &&
                             std::memcmp(&a.second, &b.second, sizeof(double)) == 0;
                    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;  // no segment is empty
  const std::string_view content = fuzz::Content(data, size);
  const std::size_t records = Records(content);

  const Segment segment(content);
  std::map<std::uint32_t, double> values;
  const int result = GetCRealDataInstance().GetRealData(&values);

  fuzz::Expect(result == (records == 0 ? -1 : 0), "only a lying or empty segment is refused");
  fuzz::Expect(AreFirstRecords(values, content, records), "each point has its first value");
  return 0;
}
