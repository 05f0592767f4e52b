#include "log/logtxt.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>

#include "util/directory.h"
#include "util/file.h"
#include "util/paths.h"
#include "util/text.h"
#include "util/timetext.h"

namespace {

constexpr std::size_t kRecordBytes = 2048;
constexpr std::size_t kFileNameBytes = 64;
constexpr std::size_t kDirectoryPathLimit = 126;
constexpr std::size_t kDirectoryPrefixLimit = 63;
constexpr mode_t kOwnerReadOnly = 0400;  // deliberate: only a privileged process can reopen it

std::string TodaysFile() {
  const auto now = util::LocalTime(std::time(nullptr)).value_or(std::tm{});
  char path[kFileNameBytes];
  util::PrintText(path, sizeof(path), "%s/%02d%02d_log.txt", paths::kLogDirectory, now.tm_mon + 1,
                  now.tm_mday);
  return path;
}

void WriteRecord(int file, const ST_TXT_LOG_NODE& node) {
  char record[kRecordBytes];
  util::PrintText(record, sizeof(record), "%s %s logType:%s\n %s\n", node.date, node.time,
                  node.logType, node.message);
  // A failing write loses the record; there is nowhere left to report it.
  [[maybe_unused]] const ssize_t written = write(file, record, std::strlen(record));
}

struct DayFiles {
  int count = -1;              // -1: the directory cannot be opened
  std::uint32_t smallest = 0;  // number of the oldest file, month x 100 + day
};

DayFiles ScanDayFiles() {
  const util::Directory directory(opendir(paths::kLogDirectory));
  if (!directory) return {};
  DayFiles files{.count = 0};
  while (const dirent* entry = readdir(directory.get())) {
    const auto number = static_cast<std::uint32_t>(util::Decimal(entry->d_name));
    if (number == 0) continue;
    if (files.count == 0 || number < files.smallest) files.smallest = number;
    ++files.count;
  }
  return files;
}

}  // namespace

CLogTxt::CLogTxt() {
  StartRecordThread();
}

CLogTxt::~CLogTxt() {
  EndRecords();
}

int CLogTxt::Init() {
  CreateDirectory(paths::kLogDirectory);
  return 0;
}

int CLogTxt::WriteLog(std::list<ST_TXT_LOG_NODE>* queue) {
  std::unique_lock queueLock(m_queueMutex);  // held while writing: callers of log_Text wait
  if (queue->empty()) return -1;

  CreateDirectory(paths::kLogDirectory);
  const std::string path = TodaysFile();
  const std::lock_guard fileLock(m_fileMutex);
  util::Descriptor file(
      open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, kOwnerReadOnly));
  if (!file) {
    std::printf("Open %s failed\n", path.c_str());
    return -1;
  }
  for (; !queue->empty(); queue->pop_front()) WriteRecord(file.Get(), queue->front());
  queueLock.unlock();
  file.Close();
  CheckSizeAndClear();
  return 0;
}

void CLogTxt::CheckSizeAndClear() {
  char oldest[kFileNameBytes];
  if (GetFirstLogTxt(oldest, sizeof(oldest)) > m_maxFiles) unlink(oldest);
}

int CLogTxt::GetFirstLogTxt(char* path, unsigned char size) {
  const DayFiles files = ScanDayFiles();
  if (files.count > 0) {
    util::PrintText(path, size, "%s/%04d_log.txt", paths::kLogDirectory,
                    static_cast<int>(files.smallest));
  }
  return files.count;
}

int CLogTxt::CreateDirectory(const char* path) {
  return util::MakeDirectories(path, kDirectoryPathLimit, kDirectoryPrefixLimit);
}
