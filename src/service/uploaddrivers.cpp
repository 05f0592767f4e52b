#include "service/uploaddrivers.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "config/sysset.h"
#include "http/http.h"
#include "log/log.h"
#include "packfile/packfile.h"
#include "parsememory/parsememory.h"
#include "service/answerguard.h"
#include "service/cloudurl.h"
#include "util/text.h"

namespace {

ST_FRAME_FILE_UPLOAD FileFrame(const char* path, const char* endpoint) {
  ST_FRAME_FILE_UPLOAD frame{};
  cloud::Address(&frame, GetCSysSetInstance().GetRealIpAddress(), endpoint);
  util::CopyText(frame.filePath, path);
  frame.answerCallback = OnUploadFileAnswer;
  return frame;
}

// The transfer's own result is not consulted: only the answer's verdict counts.
bool Send(ST_FRAME_FILE_UPLOAD& frame) {
  GetCHttpInstance().UploadFile(&frame);
  return frame.successFlag != 0;
}

// One JSON document by its braces; an answer that arrives in pieces is not.
bool HasBalancedBraces(std::string_view text) {
  const auto opened = std::count(text.begin(), text.end(), '{');
  return opened > 0 && opened == std::count(text.begin(), text.end(), '}');
}

}  // namespace

int CreateRealDataFile(Real_Data_Struct* values, const char* dir, std::vector<std::string>* files,
                       std::time_t when) {
  return GetCPackFileInstance().CreateRealDataJsonFile(values, dir, files, when);
}

int CreateAlarmDataFile(const Alarm_Data_Struct* events, const char* dir,
                        std::vector<std::string>* files, Alarm_Data_Struct* unwritten) {
  return GetCPackFileInstance().CreateAlarmDataJsonFile(events, dir, files, unwritten);
}

int CreateRecallDataFile(const ST_CHECKCALL_ACK* order, const char* dir, std::string* file) {
  return GetCPackFileInstance().CreateRecallDataJsonFile(order, dir, file);
}

int UploadRealDataFile(const char* path) {
  const ST_CLOUDSERVER_CONFIG_ATTR* config = GetCSysSetInstance().GetCloudConfigAttr();
  if (strcasestr(path, config->filetype) == nullptr) return 0;

  ST_FRAME_FILE_UPLOAD frame = FileFrame(path, cloud::kUploadRealData);
  log_Text(INFO, "start Send realdata %s to %s \n", path, frame.url);
  if (Send(frame)) {
    log_Text(INFO, "Send realdata %s to %s successfully\n", path, frame.url);
    return 0;
  }
  log_Text(WARN, "Send realdata %s to %s failed\n", path, frame.url);
  return -1;
}

// The start line says "alarmdata", the other two "Alarmdata".
int UploadAlarmDataFile(const char* path) {
  ST_FRAME_FILE_UPLOAD frame = FileFrame(path, cloud::kUploadAlarmData);
  log_Text(INFO, "start Send alarmdata %s to %s \n", path, frame.url);
  if (Send(frame)) {
    log_Text(INFO, "Send Alarmdata %s to %s successfully\n", path, frame.url);
    return 0;
  }
  log_Text(WARN, "Send Alarmdata %s to %s failed\n", path, frame.url);
  return -1;
}

int UploadDemandRecall(const char* path) {
  ST_FRAME_FILE_UPLOAD frame = FileFrame(path, cloud::kUploadRecallData);
  log_Text(INFO, "start Send Recalldata %s to %s \n", path, frame.url);
  if (Send(frame)) {
    log_Text(INFO, "Send Recalldata %s to %s successfully\n", path, frame.url);
    return 0;
  }
  log_Text(WARN, "Send Recalldata %s to %s failed\n", path, frame.url);
  return -1;
}

char* getlastname(const char* path, char* out) {
  const std::string_view name = util::BaseName(path);
  std::memcpy(out, name.data(), name.size());
  out[name.size()] = '\0';
  return out;
}

std::size_t OnUploadFileAnswer(char* text, std::size_t size, std::size_t count,
                               void* successFlag) noexcept {
  if (text == nullptr) return kVerdictRejected;
  const std::string answer = ReceivedText(text, size, count);
  log_Text(INFO, "UPloadFile recv message:%s", answer.c_str());
  if (answer.find("status") == std::string::npos || !HasBalancedBraces(answer)) {
    log_Text(WARN, "UPloadFile recv error format message:%s", answer.c_str());
    return kVerdictRejected;
  }
  ST_UPLOAD_FILE_ACK ack{};
  const int parsed = ParseGuarded(answer, [&] {
    return GetCParseMemoryInstance().ParseUploadFileFromMemory(
        answer.c_str(), static_cast<int>(answer.size()), &ack);
  });
  const bool accepted = parsed != -1 && ack.status == 0;
  SetSuccessFlag(successFlag, accepted ? 1 : 0);
  return accepted ? kVerdictAccepted : kVerdictRejected;
}
