// The card, the process and the live-value segment.
#include "collect/machine.h"

#include <gmock/gmock.h>
#include <sys/ipc.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <thread>

#include "acquisition/segment.h"
#include "datasource/realdata.h"
#include "support/gateway.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

namespace {

const status::Place kHere;
const status::Place kCopy("/tessel/copy");

// Another process of the given name. It ends with the object.
class Process {
 public:
  explicit Process(const char* name) : m_id(fork()) {
    if (m_id == 0) {
      prctl(PR_SET_NAME, name);
      raise(SIGSTOP);
      _exit(0);
    }
    int status = 0;
    waitpid(m_id, &status, WUNTRACED);  // it has its name now
  }
  ~Process() {
    kill(m_id, SIGKILL);
    waitpid(m_id, nullptr, 0);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t Id() const { return m_id; }
  // Ends it, but nobody takes note: it stays in the list of processes.
  void EndUnnoticed() const {
    kill(m_id, SIGKILL);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(m_id), &info, WEXITED | WNOWAIT);
  }

 private:
  pid_t m_id;
};

class Machine : public test::GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    Segment::RequireNone(StaleSegment::kReplace);
  }
};

TEST_F(Machine, SeesTheCardsDeviceOfWhateverKind) {
  EXPECT_EQ(status::LookAtCard(kHere).device.value, true);

  unlink(paths::kCardDevice);

  EXPECT_EQ(status::LookAtCard(kHere).device.value, false);
}

TEST_F(Machine, SeesTheMountedCardAndItsSpace) {
  const auto before = status::LookAtCard(kHere);
  test::WriteFile(std::string(paths::kCardMount) + "file", std::string(1'000'000, 'x'));
  const auto after = status::LookAtCard(kHere);

  EXPECT_EQ(after.mounted.value, true);
  EXPECT_EQ(after.readOnly.value, false);
  ASSERT_TRUE(before.space && after.space);
  EXPECT_GE(after.space->totalBytes, before.space->freeBytes);
  EXPECT_GE(before.space->freeBytes - after.space->freeBytes, 1'000'000U);
}

TEST_F(Machine, FindsTheService) {
  EXPECT_EQ(status::FindService(kHere).value, 0);

  const Process service("brennik");

  EXPECT_EQ(status::FindService(kHere).value, service.Id());
}

TEST_F(Machine, TakesNothingElseForTheService) {
  const Process likely("brennik-status");
  const Process bracketed("brennik) S 1");
  const Process ended("brennik");
  ended.EndUnnoticed();
  std::thread thread([] {
    prctl(PR_SET_NAME, "brennik");
    EXPECT_EQ(status::FindService(kHere).value, 0);
  });
  thread.join();
}

TEST_F(Machine, ReadsTheLiveValues) {
  const Segment published({{0x01031123, 12.5}, {0x01040005, -1}});

  const auto segment = status::LookAtSegment(kHere);

  EXPECT_EQ(segment.present.value, true);
  ASSERT_TRUE(segment.values);
  EXPECT_THAT(*segment.values, ElementsAre(Pair(0x01031123, 12.5), Pair(0x01040005, -1)));
}

TEST_F(Machine, SaysThatThereIsNoSegment) {
  const auto segment = status::LookAtSegment(kHere);

  EXPECT_EQ(segment.present.value, false);
  EXPECT_THAT(segment.values.reason, HasSubstr("there is no"));
}

TEST_F(Machine, SaysWhyASegmentCannotBeUsed) {
  {
    const Segment shortened({{1, 1}}, {.count = 2});
    const auto segment = status::LookAtSegment(kHere);
    EXPECT_EQ(segment.present.value, true);
    EXPECT_THAT(segment.values.reason, HasSubstr("shorter than its count"));
  }
  const int id = shmget(kLiveValueKey, 64, IPC_CREAT | IPC_EXCL | 0400);  // not ours to write
  ASSERT_NE(id, -1);
  const auto segment = status::LookAtSegment(kHere);
  shmctl(id, IPC_RMID, nullptr);

  EXPECT_EQ(segment.present.value, true);
  EXPECT_THAT(segment.values.reason, HasSubstr("sudo brennik-status"));
}

TEST_F(Machine, KnowsNothingOfACopy) {
  const auto card = status::LookAtCard(kCopy);
  const auto segment = status::LookAtSegment(kCopy);

  EXPECT_FALSE(card.mounted || card.readOnly || card.space);
  EXPECT_EQ(card.device.reason, "a copy has no card");
  EXPECT_EQ(status::FindService(kCopy).reason, "a copy has no processes");
  EXPECT_EQ(segment.present.reason, "a copy has no shared memory");
  EXPECT_EQ(segment.values.reason, "a copy has no shared memory");
}

}  // namespace
