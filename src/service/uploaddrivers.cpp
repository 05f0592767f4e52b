#include "service/uploaddrivers.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "config/sysset.h"
#include "http/answercallback.h"
#include "http/http.h"
#include "log/log.h"
#include "packfile/packfile.h"
#include "parsememory/parsememory.h"
#include "service/cloudurl.h"
#include "service/parseguard.h"
#include "util/text.h"

namespace {

ST_FRAME_FILE_UPLOAD MakeFrame(std::string_view path, std::string_view endpoint) {
  ST_FRAME_FILE_UPLOAD frame{};
  AddressFrame(frame, GetCSysSetInstance().GetRealIpAddress(), endpoint);
  util::CopyText(frame.filePath, path);
  frame.answerCallback = OnUploadFileAnswer;
  return frame;
}

// Only the verdict on the answer counts, not the transfer's own result.
bool Send(ST_FRAME_FILE_UPLOAD& frame) {
  GetCHttpInstance().UploadFile(&frame);
  return frame.successFlag != 0;
}

// Whether the text is one JSON document by its braces. The first piece of an answer is not.
bool HasBalancedBraces(std::string_view text) {
  const auto opened = std::count(text.begin(), text.end(), '{');
  return opened > 0 && opened == std::count(text.begin(), text.end(), '}');
}

bool Accepts(const std::string& answer) {
  ST_UPLOAD_FILE_ACK ack{};
  const bool parsed = ParseGuarded(answer, [&] {
    return GetCParseMemoryInstance().ParseUploadFileFromMemory(
        answer.c_str(), static_cast<int>(answer.size()), &ack);
  });
  return parsed && ack.status == 0;
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
  const char* fileType = GetCSysSetInstance().GetCloudConfigAttr()->filetype;
  if (strcasestr(path, fileType) == nullptr) return 0;

  ST_FRAME_FILE_UPLOAD frame = MakeFrame(path, kRealDataEndpoint);
  log_Text(INFO, "start Send realdata %s to %s \n", path, frame.url);
  if (Send(frame)) {
    log_Text(INFO, "Send realdata %s to %s successfully\n", path, frame.url);
    return 0;
  }
  log_Text(WARN, "Send realdata %s to %s failed\n", path, frame.url);
  return -1;
}

// The start line says "alarmdata", the other two say "Alarmdata".
int UploadAlarmDataFile(const char* path) {
  ST_FRAME_FILE_UPLOAD frame = MakeFrame(path, kAlarmDataEndpoint);
  log_Text(INFO, "start Send alarmdata %s to %s \n", path, frame.url);
  if (Send(frame)) {
    log_Text(INFO, "Send Alarmdata %s to %s successfully\n", path, frame.url);
    return 0;
  }
  log_Text(WARN, "Send Alarmdata %s to %s failed\n", path, frame.url);
  return -1;
}

int UploadDemandRecall(const char* path) {
  ST_FRAME_FILE_UPLOAD frame = MakeFrame(path, kRecallDataEndpoint);
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
  const std::string answer = CopyReceived(text, size, count);
  log_Text(INFO, "UPloadFile recv message:%s", answer.c_str());
  if (answer.find("status") == std::string::npos || !HasBalancedBraces(answer)) {
    log_Text(WARN, "UPloadFile recv error format message:%s", answer.c_str());
    return kVerdictRejected;
  }
  const bool accepted = Accepts(answer);
  SetSuccessFlag(successFlag, accepted ? 1 : 0);
  return accepted ? kVerdictAccepted : kVerdictRejected;
}
