// What the tests of the log stores share.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <functional>
#include <future>
#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "log/logdatabase.h"
#include "log/logtxt.h"
#include "support/gateway.h"
#include "util/text.h"

namespace test {

// A call on a thread of its own. Nobody joins the thread, because the call may never return.
class Caller {
 public:
  explicit Caller(std::function<void()> call);

  // Waits until the call has returned. False when it has not after 20 s.
  bool Returns() const;
  // Waits until the call sleeps and goes on sleeping. False when it has returned.
  bool Waits() const;

 private:
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

using TextLogTest = StoreTest<CLogTxt, ST_TXT_LOG_NODE, &ST_TXT_LOG_NODE::message>;

inline constexpr char kLogDatabase[] = "/tmp/CloudLog/Cloudlog.db";

class LogDatabaseTest : public StoreTest<CLogDatabase, ST_LOG_NODE, &ST_LOG_NODE::desc> {
 protected:
  void TearDown() override;

  // Creates the database with its table and runs the statements in it.
  void Prepare(const std::string& sql = "");
  // The first column of a query's rows.
  static std::vector<std::string> Column(const std::string& query);
  static std::vector<std::string> Messages();
};

}  // namespace test
