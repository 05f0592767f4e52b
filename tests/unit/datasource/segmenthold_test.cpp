// The segment is attached for one copy, not while the copy becomes a map.
#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <new>
#include <optional>
#include <vector>

#include "acquisition/segment.h"
#include "datasource/realdata.h"
#include "support/gateway.h"

using ::testing::AllOf;
using ::testing::Each;
using ::testing::SizeIs;

namespace {

constexpr std::size_t kMostInserts = 16;

// While on, notes at every allocation of the test's thread how many are attached to the segment.
struct Watch {
  bool on = false;
  int segment = -1;
  std::size_t noted = 0;
  unsigned long attached[kMostInserts] = {};
};
thread_local Watch t_watch;

void NoteAttachments() {
  if (!t_watch.on || t_watch.noted == kMostInserts) return;
  shmid_ds status{};
  shmctl(t_watch.segment, IPC_STAT, &status);
  t_watch.attached[t_watch.noted++] = status.shm_nattch;
}

}  // namespace

// A map allocates when an entry is inserted. Not inlined: new and free must not meet in one caller.
[[gnu::noinline]] void* operator new(std::size_t bytes) {
  NoteAttachments();
  if (void* memory = std::malloc(bytes)) return memory;
  throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
  std::free(memory);
}

namespace {

class LiveValueSegment : public test::GatewayTest {};

TEST_F(LiveValueSegment, IsDetachedBeforeTheFirstPointIsInserted) {
  const Segment segment({{1, 1}, {2, 2}, {3, 3}});
  std::map<std::uint32_t, double> values;

  t_watch = {.on = true, .segment = shmget(kLiveValueKey, 0, 0)};
  GetCRealDataInstance().GetRealData(&values);
  t_watch.on = false;

  const std::vector<unsigned long> attached(t_watch.attached, t_watch.attached + t_watch.noted);
  EXPECT_THAT(attached, AllOf(SizeIs(3), Each(1UL)));  // the acquisition side alone
}

}  // namespace
