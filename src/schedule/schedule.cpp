#include "schedule/schedule.h"

#include <sys/statfs.h>
#include <unistd.h>

#include <cstring>

#include "historydata/datatree.h"
#include "historydata/historydata.h"
#include "log/log.h"
#include "schedule/workers.h"
#include "util/durable.h"
#include "util/paths.h"
#include "util/thread.h"

namespace {

constexpr std::uint64_t kLeastFreeBytes = 512000;

void MakeTree() {
  CHistoryData& ledger = GetCHistoryDataInstance();
  ledger.Mkdirs(paths::kDataFiles);
  ledger.Mkdirs(paths::kCallData);
  MakeDayDirectories();
  ledger.Mkdirs(paths::kLedgerDirectory);
  // A power cut would take the first files of a new card along with their unsynced directories.
  util::SyncFileSystem(paths::kDataFiles);
}

}  // namespace

CSchedule::~CSchedule() {
  DelAllThread();
}

int CSchedule::Init(Interval_Info* intervals) {
  if (intervals == nullptr) return -1;
  m_intervals = intervals;
  MakeTree();
  CreateAllThread();  // deliberately without its result: the workers that have started go on
  return 0;
}

int CSchedule::CreateOneThread(pthread_t* thread, std::int32_t* interval, void* (*worker)(void*)) {
  if (*interval < 1) return 0;
  int errorCode = 0;
  const auto started =
      util::StartThread(thread, util::DetachState::kJoinable, worker, interval, &errorCode);
  if (started == util::StartResult::kNoDetachState) {
    log_DB(FATAL, "Failed to set joinable state for File creating thread, error: %s\n",
           std::strerror(errorCode));
    return -1;
  }
  if (*thread != 0) return 0;
  log_DB(FATAL, "Failed to create new thread, error: %s\n", std::strerror(errorCode));
  return -1;
}

int CSchedule::CreateAllThread() {
  if (m_intervals == nullptr) return -1;
  if (CreateOneThread(&m_realDataThread, &m_intervals->realDataInv, HandleRealData) != 0) return -1;
  if (CreateOneThread(&m_alarmThread, &m_intervals->alarmDataInv, HandleRealAlarm) != 0) return -1;
  if (CreateOneThread(&m_heartThread, &m_intervals->heartBeatInv, HandleHeart) != 0) return -1;
  if (CreateOneThread(&m_uploadThread, &m_intervals->checkFailInv, HandleFail) != 0) return -1;
  return CreateOneThread(&m_recallThread, &m_intervals->recallInv, HandleRecall);
}

int CSchedule::DelOneThread(pthread_t* thread) {
  if (*thread == 0) return 0;
  const int result = pthread_join(*thread, nullptr);
  *thread = 0;
  return result;
}

void CSchedule::DelAllThread() {
  DelOneThread(&m_realDataThread);
  DelOneThread(&m_alarmThread);
  DelOneThread(&m_heartThread);
  DelOneThread(&m_uploadThread);
  DelOneThread(&m_recallThread);
}

CSchedule& GetCScheduleInstance() {
  static CSchedule instance;
  return instance;
}

int IsExistSDCard() {
  if (access(paths::kCardDevice, F_OK) != 0) return 0;
  struct statfs card {};
  if (statfs(paths::kCardMount, &card) != 0) return 1;
  const std::uint64_t freeBytes = static_cast<std::uint64_t>(card.f_bsize) * card.f_bfree;
  if (freeBytes >= kLeastFreeBytes) return 1;
  // Deliberately the threshold, not what was measured.
  log_DB(FATAL, "There is only %dB free space in sdcard\n", static_cast<int>(kLeastFreeBytes));
  return 0;
}
