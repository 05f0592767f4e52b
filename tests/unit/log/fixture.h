// What the tests of the log stores share.
#pragma once

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <list>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "log/logdatabase.h"
#include "log/logtxt.h"
#include "support/databasefile.h"
#include "support/gateway.h"
#include "util/text.h"

namespace test {

// A call on a thread of its own. Nobody joins the thread, because the call may never return.
class Caller {
 public:
  explicit Caller(std::function<void()> call) {
    std::packaged_task<void()> task([call = std::move(call), thread = m_thread] {
      *thread = gettid();
      call();
    });
    m_returned = task.get_future();
    std::thread(std::move(task)).detach();
  }

  // Waits until the call has returned. False when it has not after 20 s.
  bool Returns() const { return IsReadyIn(std::chrono::seconds(20)); }
  // Waits until the call sleeps and goes on sleeping. False when it has returned.
  bool Waits() const {
    constexpr int kLooks = 50;
    int asleep = 0;
    while (asleep < kLooks && !IsReadyIn(std::chrono::milliseconds(2))) {
      const auto stat = ReadFile(util::Format("/proc/self/task/%d/stat", m_thread->load()));
      asleep = stat.find(") S ") != std::string::npos ? asleep + 1 : 0;
    }
    return asleep == kLooks;
  }

 private:
  bool IsReadyIn(std::chrono::milliseconds time) const {
    return m_returned.wait_for(time) == std::future_status::ready;
  }

  std::shared_ptr<std::atomic<pid_t>> m_thread = std::make_shared<std::atomic<pid_t>>(0);
  std::future<void> m_returned;
};

// Runs a store on the test's own thread, with a queue of the test's own.
template <typename Store, typename Record, auto kMessage>
class StoreTest : public GatewayTest {
 protected:
  // Queues the messages as records of 2024-03-06 23:59:58, level INFO, and writes the queue.
  int Write(const std::vector<std::string>& messages = {}) {
    for (const auto& message : messages) {
      Record& record = queue.emplace_back();
      util::CopyText(record.date, "2024-03-06");
      util::CopyText(record.time, "23:59:58");
      util::CopyText(record.logType, "INFO");
      util::CopyText(record.*kMessage, message);
    }
    return store.WriteLog(&queue);
  }

  Store& store = Singleton<Store>::Instance();
  std::list<Record> queue;
};

inline constexpr char kLogDatabase[] = "/tmp/CloudLog/Cloudlog.db";
using TextLogTest = StoreTest<CLogTxt, ST_TXT_LOG_NODE, &ST_TXT_LOG_NODE::message>;
using LogDatabaseTest = StoreTest<CLogDatabase, ST_LOG_NODE, &ST_LOG_NODE::desc>;

}  // namespace test
