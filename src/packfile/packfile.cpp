#include "packfile/packfile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <optional>
#include <span>

#include "config/channelset.h"
#include "config/snset.h"
#include "datasource/demandhistory.h"
#include "historydata/historydata.h"
#include "log/log.h"
#include "packfile/alarmdocument.h"
#include "packfile/archive.h"
#include "packfile/realdatadocument.h"
#include "packfile/recalldocument.h"
#include "util/directory.h"
#include "util/text.h"
#include "util/timetext.h"

// A text file that cannot be opened stops the process in every build type.
#undef NDEBUG
#include <cassert>

namespace {

constexpr unsigned kAlarmPauseMicroseconds = 50000;

// The log lines of one kind of data file.
struct PackReport {
  ReportFailedAttempt failed;
  void (*succeeded)(const char* archive);
  void (*gaveUp)(const char* archive);  // null: nothing is logged and the remains stay
};

constexpr PackReport kRealDataReport{
    .failed =
        [](const char* archive, int status) {
          log_Text(WARN, "CreateRealDataJsonFile %s failed,errno %d", archive, status);
        },
    .succeeded =
        [](const char* archive) { log_Text(INFO, "CreateRealDataJsonFile %s Success", archive); },
    .gaveUp =
        [](const char* archive) {
          log_Text(WARN, "try %d times,but CreateRealDataJsonFile %s failed", kPackAttempts,
                   archive);
        }};

constexpr PackReport kAlarmDataReport{
    .failed =
        [](const char* archive, int status) {
          log_Text(WARN, "CreateAlarmDataJsonFile %s failed,errno %d", archive, status);
        },
    .succeeded =
        [](const char* archive) { log_Text(INFO, "CreateAlarmDataJsonFile %s Success", archive); },
    .gaveUp =
        [](const char* archive) {
          log_Text(WARN, "try %d times,but CreateAlarmDataJsonFile %s failed", kPackAttempts,
                   archive);
        }};

constexpr PackReport kRecallDataReport{
    .failed =
        [](const char* archive, int status) {
          log_Text(WARN, "CreateRecallDataJsonFile %s failed,errno %d", archive, status);
        },
    .succeeded =
        [](const char* archive) { log_Text(INFO, "CreateRecallDataJsonFile %s Success", archive); },
    .gaveUp = nullptr};  // deliberate

// Writes the document into the open text file and compresses it. The document's memory is free
// while tar runs. True when the archive is made.
bool WriteAndPack(rapidjson::StringBuffer& text, std::ofstream& ofs, DataFile& file,
                  const PackReport& report) {
  errno = 0;
  ofs.write(text.GetString(), static_cast<std::streamsize>(text.GetSize()));
  ofs.close();
  if (!ofs) file.SetWriteError(errno == 0 ? EIO : errno);
  text = rapidjson::StringBuffer();

  const char* archive = file.Names().archive;
  if (file.Pack(report.failed)) {
    report.succeeded(archive);
    return true;
  }
  if (report.gaveUp != nullptr) {
    file.RemoveRemains();
    report.gaveUp(archive);
  }
  return false;
}

std::optional<std::string> FindConfiguredName(std::uint32_t dataId) {
  ST_POINTID_ATTR* point = nullptr;
  GetCChannelSetInstance().GetAttr(dataId, &point);
  if (point == nullptr) return std::nullopt;
  return point->Name;
}

std::int32_t ReadDemandHistory(std::uint32_t dataId, const ST_SINGLE_CALL_POINT& point,
                               std::vector<ST_SINGLE_POINT_VALUE>& values) {
  return GetCHistoryDataInstance().GetRecallFlag(dataId, &point, &values);
}

}  // namespace

std::int32_t CPackFile::CreateRealDataJsonFile(Real_Data_Struct* values, const char* dir,
                                               std::vector<std::string>* files, std::time_t when) {
  const auto stamp = util::LocalTime(when);
  if (!stamp) return -1;
  char timeMark[kTimeMarkBytes];
  util::CopyText(timeMark, util::TimeMark(*stamp));
  DataFile file('S', dir, *stamp);

  MAP_GROUP_ATTR* catalogue = nullptr;
  GetCChannelSetInstance().GetAttr(&catalogue);
  rapidjson::StringBuffer text;
  const RealDataHeader header{.serial = GetCsnSetInstance().GetSn(), .timeMark = timeMark};
  if (const auto missing = WriteRealDataDocument(header, *catalogue, *values, text)) {
    log_Text(INFO, "CreateRealDataJsonFile %s Error, can't find id: %08x", file.Names().text,
             *missing);
    return 0;
  }

  std::ofstream ofs = file.OpenText();
  assert(ofs.is_open());
  if (!WriteAndPack(text, ofs, file, kRealDataReport)) return -1;
  files->emplace_back(file.Names().archive);
  return 0;
}

std::int32_t CPackFile::CreateAlarmDataJsonFile(const Alarm_Data_Struct* events, const char* dir,
                                                std::vector<std::string>* files,
                                                Alarm_Data_Struct* unwritten) {
  AlarmDocumentWriter documents(GetCsnSetInstance().GetSn(), FindConfiguredName);
  std::span<const Alarm_Data_Para> rest(*events);
  while (!rest.empty()) {
    const auto ofThisFile = rest.first(std::min(rest.size(), kAlarmsPerFile));
    rest = rest.subspan(ofThisFile.size());
    rapidjson::StringBuffer text;
    documents.Write(ofThisFile, text);

    const auto stamp = util::LocalTime(std::time(nullptr));
    if (!stamp) {
      log_Text(WARN, "CreateAlarmDataJsonFile in %s failed, no local time", dir);
      continue;
    }
    DataFile file('T', dir, *stamp);
    usleep(kAlarmPauseMicroseconds);
    std::ofstream ofs = file.OpenText();
    assert(ofs.is_open());
    if (WriteAndPack(text, ofs, file, kAlarmDataReport)) {
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
  rapidjson::StringBuffer text;
  if (!WriteRecallDocument(GetCsnSetInstance().GetSn(), *request, ReadDemandHistory, text)) {
    log_Text(WARN, "Recall %d has more than %zu bytes or %zu values of a point,judge it send OK",
             request->id, kLargestRecallBytes, kMostRecalledValues);
    path->clear();
    return 0;
  }

  std::ofstream ofs = file.OpenText();
  assert(ofs.is_open());
  if (!WriteAndPack(text, ofs, file, kRecallDataReport)) return -1;
  *path = file.Names().archive;
  return 0;
}

const char* CPackFile::GetAlarmType(unsigned int dataId, unsigned char eventType,
                                    unsigned char upFlag) {
  return AlarmCode(dataId, eventType, upFlag != 0);
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
