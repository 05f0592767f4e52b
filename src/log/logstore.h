// What the two log stores have in common: the queue of records, the thread that has them written,
// the time of each record, and the end of both.
#pragma once

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cstddef>
#include <ctime>
#include <list>
#include <mutex>

#include "log/recordbatch.h"
#include "log/singleton.h"
#include "util/mutex.h"
#include "util/text.h"
#include "util/thread.h"
#include "util/timetext.h"

// The base of a store that queues records of the type `Record`; `kMessage` is the record's message
// field. Any thread may call InsertLog. The store's constructor starts the detached record thread,
// which runs for the life of the process and calls the store's WriteLog.
template <typename Store, typename Record, auto kMessage>
class LogStore : public Singleton<Store> {
 public:
  // Queues a record with the time of the call. The message is cut at two characters less than the
  // field has bytes.
  void InsertLog(const char* logType, const char* message) {
    Record record{};
    const auto now = util::LocalTime(std::time(nullptr)).value_or(std::tm{});
    util::CopyText(record.date, util::DateText(now));
    util::CopyText(record.time, util::ClockText(now));
    util::CopyText(record.logType, logType);
    util::CopyText(record.*kMessage, sizeof(record.*kMessage) - 1, message);

    const std::lock_guard lock(m_queueMutex);
    m_queue.push_back(record);
  }

  // The entry of the record thread, given the store: writes the queue, sleeps 5 s, for ever.
  static void* RecordThread(void* self) {
    auto* store = static_cast<Store*>(self);
    for (;; sleep(kCycleSeconds)) {
      const RecordBatch<Store> batch;
      if (batch) store->WriteLog(&store->m_queue);
    }
  }

 protected:
  LogStore() = default;

  // Called last in the store's constructor: the thread uses the whole store.
  void StartRecordThread() {
    int errorCode = 0;
    util::StartThread(&m_recordThread, util::DetachState::kDetached, RecordThread,
                      static_cast<Store*>(this), &errorCode);
  }

  // Called first in the store's destructor. Waits for the batch under way and discards what is
  // still queued. If the queue was left locked for good, that batch may never end, so neither the
  // batch nor the lock is waited for; a later batch of the thread would stop at the lock.
  void EndRecords() {
    while (!RecordBatch<Store>::TryEnd() && !m_queueMutex.IsAbandoned()) sched_yield();
    std::unique_lock lock(m_queueMutex, std::defer_lock);
    if (!m_queueMutex.IsAbandoned()) lock.lock();
    m_queue.clear();
  }

  util::Mutex m_queueMutex;  // guards m_queue

 private:
  static constexpr unsigned kCycleSeconds = 5;

  pthread_t m_recordThread = 0;  // 0: could not be started; messages stay queued, unwritten
  std::list<Record> m_queue;
};
