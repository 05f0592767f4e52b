// The databases of the SD card seen from outside, another program that uses them, and plants to
// record; for the tests of the simulated acquisition side. Paths and tables are spelled out here
// once more, on purpose.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "acquisition/plant.h"
#include "support/files.h"
#include "util/file.h"
#include "util/sqlite.h"

namespace test {

inline constexpr char kCard[] = "/media/mmcblk0p1/";
inline constexpr char kMarchEvents[] = "/media/mmcblk0p1/202403_event.db";
inline constexpr char kHistoryPath[] = "/media/mmcblk0p1/demand_history.db";
inline constexpr std::int64_t kNoon = 1709784000;  // 2024-03-07 12:00 local time

// The first column of each row of a query; nothing where it cannot be run.
inline std::vector<std::string> Lines(const std::string& path, const std::string& query) {
  std::vector<std::string> lines;
  if (!Exists(path)) return lines;
  util::Database database(path.c_str());
  util::Statement rows = database.Prepare(query);
  while (rows && rows.NextRow()) lines.emplace_back(rows.Text(0));
  return lines;
}

// Runs a statement as another program would.
inline bool Change(const std::string& path, const std::string& sql) {
  return util::Database(path.c_str()).Execute(sql);
}

// A plant of these points, whose types their identifiers tell.
inline Plant PlantOf(const std::vector<std::uint32_t>& dataIds) {
  Plant plant;
  for (const std::uint32_t dataId : dataIds) {
    PlantPoint point;
    point.dataId = dataId;
    point.type = TypeOf(dataId).value_or(PointType::kAi);
    plant.points.emplace(dataId, point);
  }
  return plant;
}

// `count` points of one type, on devices of forty points each from 0x0103 on.
inline std::vector<std::uint32_t> Points(PointType type, std::uint16_t count) {
  constexpr std::uint16_t kPerDevice = 40;
  std::vector<std::uint32_t> points;
  for (std::uint16_t i = 0; i < count; ++i) {
    const auto slave = static_cast<std::uint8_t>(3 + i / kPerDevice);
    points.push_back(DataIdOf(1, slave, type, static_cast<std::uint16_t>(1 + i % kPerDevice)));
  }
  return points;
}

// What it is for: another process with a database open. It does its work at once, then waits until
// it is told to end, and reports one number.
// Threads: the test's only one, when it starts. Owns: the process, which ends with the object.
class OtherProgram {
 public:
  // `work` is done before the object is there, `last` when it is told to end.
  using Work = std::function<int(util::Database&)>;
  OtherProgram(const std::string& path, const Work& work, const Work& last) {
    std::array<int, 2> ready{};
    std::array<int, 2> end{};
    EXPECT_EQ(pipe(ready.data()), 0);
    EXPECT_EQ(pipe(end.data()), 0);
    m_pid = fork();
    if (m_pid == 0) {
      close(ready[0]);
      close(end[1]);
      Run(path, work, last, ready[1], end[0]);
    }
    close(ready[1]);
    close(end[0]);
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1) << "the other program has not started its work";
    close(ready[0]);
    m_end = end[1];
  }
  ~OtherProgram() { End(); }
  OtherProgram(const OtherProgram&) = delete;
  OtherProgram& operator=(const OtherProgram&) = delete;

  // Tells it to end and waits for that; its number, -1 when something went wrong.
  int End() {
    if (m_pid <= 0) return -1;
    close(m_end);
    int status = -1;
    waitpid(std::exchange(m_pid, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  [[noreturn]] static void Run(const std::string& path, const Work& work, const Work& last,
                               int ready, int end) {
    int number = 0;
    {
      util::Database database(path.c_str());
      database.WaitForLocks(10'000);
      number = work(database);
      char byte = 1;
      if (write(ready, &byte, 1) != 1 || read(end, &byte, 1) != 0) number = -1;
      number += last(database);
    }
    _exit(number);
  }

  pid_t m_pid = -1;
  int m_end = -1;
};

// The locks that another program may hold: one that reads keeps others from writing, one that is
// about to write does too, and one that writes keeps everybody out.
struct Lock {
  const char* name;
  const char* sql;
};
inline constexpr Lock kReading{"Reading", "BEGIN; SELECT COUNT(*) FROM sqlite_master"};
inline constexpr Lock kAboutToWrite{"AboutToWrite", "BEGIN IMMEDIATE"};
inline constexpr Lock kWriting{"Writing", "BEGIN EXCLUSIVE"};

inline void PrintTo(const Lock& lock, std::ostream* out) {
  *out << lock.name;
}

// What it is for: another program that holds a lock on a database until it is told to end.
// Threads: see OtherProgram. Owns: the process.
class LockHolder {
 public:
  LockHolder(const std::string& path, const Lock& lock)
      : m_program(
            path, [lock](util::Database& database) { return database.Execute(lock.sql) ? 0 : 1; },
            [](util::Database& database) { return database.Execute("ROLLBACK") ? 0 : 1; }) {}
  // True when it has had its lock and has let go of it.
  bool LetGo() { return m_program.End() == 0; }

 private:
  OtherProgram m_program;
};

// What it is for: every test around the card's databases. It refuses to run outside the sandbox;
// each test starts with an empty card, eight hours east of Greenwich.
class CardTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(std::getenv("BRENNIK_SANDBOX"), nullptr) << "run this through scripts/sandbox";
    Empty(kCard);
    setenv("TZ", "CST-8", 1);
    tzset();
  }
};

}  // namespace test
