#include "packfile/packfile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <span>

#include "config/channelset.h"
#include "config/snset.h"
#include "datasource/demandhistory.h"
#include "log/log.h"
#include "packfile/alarmdocument.h"
#include "packfile/archive.h"
#include "packfile/realdatadocument.h"
#include "packfile/recalldocument.h"
#include "util/directory.h"
#include "util/json.h"
#include "util/text.h"
#include "util/timetext.h"

// A text file that cannot be opened stops the process in every build type.
#undef NDEBUG
#include <cassert>

namespace {

constexpr std::size_t kTimeMarkBytes = 23;
constexpr unsigned kAlarmPauseMicroseconds = 50000;

// Writes the document and closes the file. What the card does not take, the data file is told.
void WriteText(std::ofstream& ofs, const rapidjson::StringBuffer& text, DataFile& file) {
  errno = 0;
  ofs.write(text.GetString(), static_cast<std::streamsize>(text.GetSize()));
  ofs.close();
  if (!ofs) file.SetWriteError(errno == 0 ? EIO : errno);
}

// Compresses a written alarm-data file. False leaves its text file in place when that is whole.
bool PackAlarms(DataFile& file) {
  const char* archive = file.Names().archive;
  const bool packed = file.Pack([](const char* path, int status) {
    log_Text(WARN, "CreateAlarmDataJsonFile %s failed,errno %d", path, status);
  });
  if (!packed) {
    file.RemoveRemains();
    log_Text(WARN, "try %d times,but CreateAlarmDataJsonFile %s failed", kPackAttempts, archive);
    return false;
  }
  log_Text(INFO, "CreateAlarmDataJsonFile %s Success", archive);
  return true;
}

}  // namespace

std::int32_t CPackFile::CreateRealDataJsonFile(Real_Data_Struct* values, const char* dir,
                                               std::vector<std::string>* files, std::time_t when) {
  const auto stamp = util::LocalTime(when);
  if (!stamp) return -1;
  char timeMark[kTimeMarkBytes];
  util::CopyText(timeMark, util::TimeMark(*stamp));
  DataFile file('S', dir, *stamp);
  const DataFileNames& names = file.Names();

  MAP_GROUP_ATTR* catalogue = nullptr;
  GetCChannelSetInstance().GetAttr(&catalogue);
  rapidjson::StringBuffer text;
  const RealDataHeader header{.serial = GetCsnSetInstance().GetSn(), .timeMark = timeMark};
  if (const auto missing = WriteRealDataDocument(header, *catalogue, *values, text)) {
    log_Text(INFO, "CreateRealDataJsonFile %s Error, can't find id: %08x", names.text, *missing);
    return 0;
  }

  std::ofstream ofs = file.OpenText();
  assert(ofs.is_open());
  WriteText(ofs, text, file);

  const bool packed = file.Pack([](const char* archive, int status) {
    log_Text(WARN, "CreateRealDataJsonFile %s failed,errno %d", archive, status);
  });
  if (!packed) {
    file.RemoveRemains();
    log_Text(WARN, "try %d times,but CreateRealDataJsonFile %s failed", kPackAttempts,
             names.archive);
    return -1;
  }
  files->emplace_back(names.archive);
  log_Text(INFO, "CreateRealDataJsonFile %s Success", names.archive);
  return 0;
}

std::int32_t CPackFile::CreateAlarmDataJsonFile(const Alarm_Data_Struct* events, const char* dir,
                                                std::vector<std::string>* files,
                                                Alarm_Data_Struct* unwritten) {
  AlarmCarryOver carryOver = kNothingCarriedOver;
  std::span<const Alarm_Data_Para> rest(*events);
  while (!rest.empty()) {
    const auto ofThisFile = rest.first(std::min(rest.size(), kAlarmsPerFile));
    rest = rest.subspan(ofThisFile.size());
    rapidjson::StringBuffer text;
    WriteAlarmDocument(GetCsnSetInstance().GetSn(), ofThisFile, carryOver, text);

    const auto stamp = util::LocalTime(std::time(nullptr));
    if (!stamp) {
      log_Text(WARN, "CreateAlarmDataJsonFile in %s failed, no local time", dir);
      continue;
    }
    DataFile file('T', dir, *stamp);
    usleep(kAlarmPauseMicroseconds);
    std::ofstream ofs = file.OpenText();
    assert(ofs.is_open());
    WriteText(ofs, text, file);
    if (PackAlarms(file)) {
      files->emplace_back(file.Names().archive);
    } else if (!file.IsTextWhole() && unwritten != nullptr) {
      unwritten->insert(unwritten->end(), ofThisFile.begin(), ofThisFile.end());
    }
  }
  return 0;
}

std::int32_t CPackFile::CreateRecallDataJsonFile(const ST_CHECKCALL_ACK* request, const char* dir,
                                                 std::string* path) {
  const auto stamp = util::LocalTime(std::time(nullptr));
  if (!stamp) return -1;
  DataFile file('R', dir, *stamp, kTellRecallStatus);
  const DataFileNames& names = file.Names();
  rapidjson::StringBuffer text;
  if (!WriteRecallDocument(GetCsnSetInstance().GetSn(), *request, text)) {
    log_Text(WARN, "Recall %d has more than %zu bytes or %zu values of a point,judge it send OK",
             request->id, kLargestRecallBytes, kMostRecalledValues);
    path->clear();
    return 0;
  }

  std::ofstream ofs = file.OpenText();
  assert(ofs.is_open());
  WriteText(ofs, text, file);

  const bool packed = file.Pack([](const char* archive, int status) {
    log_Text(WARN, "CreateRecallDataJsonFile %s failed,errno %d", archive, status);
  });
  if (!packed) return -1;  // deliberately without a closing word; both files stay
  *path = names.archive;
  log_Text(INFO, "CreateRecallDataJsonFile %s Success", names.archive);
  return 0;
}

const char* CPackFile::GetAlarmType(unsigned int dataId, unsigned char eventType,
                                    unsigned char upFlag) {
  const char* code = AlarmCode(dataId, eventType, upFlag != 0);
  return code == nullptr ? "" : code;
}

int CPackFile::executeCMD(const char* command, char* buf, int n) {
  return RunCommand(command, buf, n) ? 0 : -1;
}

unsigned int CPackFile::get_file_size(const char* path) {
  return static_cast<unsigned int>(util::FileSize(path));
}

double CPackFile::GetPointValue(unsigned int dataId, std::map<unsigned int, double>* values) {
  const auto found = values->find(dataId);
  return found == values->end() ? -1.0 : found->second;
}

CPackFile& GetCPackFileInstance() {
  static CPackFile instance;
  return instance;
}
