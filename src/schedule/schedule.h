// The scheduler: the directory tree of the data files and the worker threads.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "config/sysrecords.h"

// Starts the workers, each paced by its own field of the intervals, and holds their threads, which
// never end. Only the main thread calls it; it takes no lock.
class CSchedule {
 public:
  CSchedule() = default;
  ~CSchedule();  // joins the workers
  CSchedule(const CSchedule&) = delete;
  CSchedule& operator=(const CSchedule&) = delete;

  // Keeps the intervals, which must live as long as the process, makes the directory tree on the
  // card and starts the workers. -1 for null; otherwise 0, also when a worker could not be started.
  int Init(Interval_Info* intervals);

  // Starts a joinable thread with a 2 MiB stack that runs `worker(interval)`. 0 when it runs, and
  // when its interval is below 1, which means that nobody wants it; -1, with a FATAL line, when it
  // cannot be started.
  int CreateOneThread(pthread_t* thread, std::int32_t* interval, void* (*worker)(void*));
  // Starts the workers in their order, up to the first failure, which it returns. -1 before Init.
  int CreateAllThread();
  // Joins a thread and sets its id to 0; the join's result, or 0 when there is no thread.
  int DelOneThread(pthread_t* thread);
  // Joins all workers in their order.
  void DelAllThread();

 private:
  Interval_Info* m_intervals = nullptr;  // not owned
  pthread_t m_realDataThread = 0;        // 0: no thread
  pthread_t m_alarmThread = 0;
  pthread_t m_heartThread = 0;
  pthread_t m_uploadThread = 0;
  pthread_t m_recallThread = 0;
};

// The one object of the process.
CSchedule& GetCScheduleInstance();

// Says whether the SD card can be used: 1, also when its free space is unknown; 0 without a card
// and, with a FATAL line, with less than 512,000 bytes free. Any thread may call it.
int IsExistSDCard();
