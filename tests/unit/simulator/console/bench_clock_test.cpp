// The gateway's clock, as real programs see it.
#include "console/bench/clock.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

#include "console/bench/child.h"

namespace {

using console::Child;
using console::Clock;

constexpr char kFile[] = "/tmp/clock";
constexpr std::time_t kStart = 1'700'000'000;
constexpr std::chrono::seconds kPatience{10};

double TimeIn(const std::string& line) {
  return std::strtod(line.c_str(), nullptr);
}

// What a program that starts now shows.
double FreshTime(const Clock& clock) {
  Child date({"date", "+%s.%N"}, clock.Environment());
  return TimeIn(date.ReadLine(kPatience).value_or(""));
}

// A program that prints its time when it is asked.
class Old {
 public:
  explicit Old(const Clock& clock)
      : m_child({"perl", "-MTime::HiRes=time", "-e",
                 "$| = 1; $SIG{USR1} = sub { print time, \"\\n\" }; print \"up\\n\"; select undef, "
                 "undef, undef, 0.1 while 1"},
                clock.Environment()) {
    m_child.ReadLine(kPatience);
    Time();  // it knows the time from now on
  }
  double Time() {
    kill(m_child.Pid(), SIGUSR1);
    return TimeIn(m_child.ReadLine(kPatience).value_or(""));
  }

 private:
  Child m_child;
};

// Whether the programs show a time between two looks at the clock.
void ExpectEqualTime(const Clock& clock, Old& old) {
  const double first = clock.Exact();
  const double ofOld = old.Time();
  const double second = clock.Exact();
  const double ofFresh = FreshTime(clock);
  EXPECT_GE(ofOld, first);
  EXPECT_LE(ofOld, second);
  EXPECT_GE(ofFresh, second);
  EXPECT_LE(ofFresh, clock.Exact());
}

TEST(BenchClock, ShowsTheSameTimeToProgramsThatStartAtDifferentMoments) {
  const Clock clock(kFile, kStart, 10);
  Old old(clock);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));

  ExpectEqualTime(clock, old);
}

TEST(BenchClock, ReachesRunningProgramsWithANewSpeed) {
  Clock clock(kFile, kStart, 10);
  Old old(clock);

  clock.SetSpeed(50);

  ExpectEqualTime(clock, old);
}

TEST(BenchClock, ReachesRunningProgramsWithAStep) {
  Clock clock(kFile, kStart, 10);
  Old old(clock);

  clock.Step(86'400);

  ExpectEqualTime(clock, old);
}

TEST(BenchClock, BeginsAtTheGivenTimeAndRunsAtItsSpeed) {
  const Clock clock(kFile, kStart, 20);
  const double first = clock.Exact();
  const auto from = std::chrono::steady_clock::now();

  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const double second = clock.Exact();
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - from;

  EXPECT_NEAR(first, kStart, 5);
  EXPECT_GE(second - first, 0.05 * 20);
  EXPECT_LE(second - first, passed.count() * 20 + 0.1);
}

TEST(BenchClock, GoesOnFromWhereItIsWhenTheSpeedChanges) {
  Clock clock(kFile, kStart, 60);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));

  const double before = clock.Exact();
  clock.SetSpeed(1);

  EXPECT_NEAR(clock.Exact(), before, 1);
}

TEST(BenchClock, DoesNotCountAStepAsTimePassed) {
  Clock clock(kFile, kStart, 1);

  clock.Step(-3600);

  EXPECT_NEAR(clock.Exact(), kStart - 3600, 5);
  EXPECT_NEAR(clock.Elapsed(), 0, 5);
}

TEST(BenchClock, KeepsItsFileWhenTheDiskIsFull) {
  Clock clock(kFile, kStart, 10);
  Old old(clock);
  const std::string fresh = std::string(kFile) + ".new";
  ASSERT_EQ(symlink("/dev/full", fresh.c_str()), 0);

  EXPECT_THROW(clock.SetSpeed(50), std::runtime_error);

  ExpectEqualTime(clock, old);
  EXPECT_EQ(clock.Speed(), 10);
  EXPECT_NE(access(fresh.c_str(), F_OK), 0);
}

TEST(BenchClock, RefusesAnotherSpeedOfTheMachinesOwnClock) {
  Clock clock;

  EXPECT_THROW(clock.SetSpeed(2), std::invalid_argument);
  EXPECT_EQ(clock.Speed(), 1);
}

TEST(BenchClock, RefusesASpeedOutOfRangeAndKeepsItsOwn) {
  Clock clock(kFile, kStart, 10);

  EXPECT_THROW(clock.SetSpeed(0.5), std::invalid_argument);
  EXPECT_THROW(clock.SetSpeed(61), std::invalid_argument);
  EXPECT_EQ(clock.Speed(), 10);
}

}  // namespace
