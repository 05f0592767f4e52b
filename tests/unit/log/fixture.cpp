#include "fixture.h"

#include <unistd.h>

#include <chrono>
#include <thread>
#include <utility>

#include "support/databasefile.h"

namespace test {
namespace {

constexpr std::chrono::seconds kPatience{20};  // a deadline for a broken test, never waited for
constexpr std::chrono::milliseconds kBetweenLooks{2};
constexpr int kLooksAsleep = 50;

// Whether the kernel shows the thread asleep: an S after its name, which is in brackets.
bool IsAsleep(pid_t thread) {
  const std::string stat = ReadFile("/proc/self/task/" + std::to_string(thread) + "/stat");
  return stat.find(") S ") != std::string::npos;
}

}  // namespace

Caller::Caller(std::function<void()> call) {
  std::packaged_task<void()> task([call = std::move(call), thread = m_thread] {
    *thread = gettid();
    call();
  });
  m_returned = task.get_future();
  std::thread(std::move(task)).detach();
}

bool Caller::Returns() const {
  return m_returned.wait_for(kPatience) == std::future_status::ready;
}

bool Caller::Waits() const {
  int asleep = 0;
  while (asleep < kLooksAsleep && m_returned.wait_for(kBetweenLooks) != std::future_status::ready) {
    asleep = IsAsleep(*m_thread) ? asleep + 1 : 0;
  }
  return asleep == kLooksAsleep;
}

void LogDatabaseTest::TearDown() {
  store.Init();
  GatewayTest::TearDown();
}

void LogDatabaseTest::Prepare(const std::string& sql) {
  CLogTxt::Instance().Init();  // the directory, as the text log makes it
  ASSERT_EQ(store.LogTableCreate(kLogDatabase), 0);
  DatabaseFile(kLogDatabase).Run(sql);
}

std::vector<std::string> LogDatabaseTest::Column(const std::string& query) {
  return DatabaseFile(kLogDatabase).Lines(query);
}

std::vector<std::string> LogDatabaseTest::Messages() {
  return Column("select log_Desc from log_tbl order by Pid");
}

}  // namespace test
