#include "service/cloudlink.h"

#include <string>

#include "config/snset.h"
#include "config/sysset.h"
#include "http/answercallback.h"
#include "http/http.h"
#include "log/log.h"
#include "packmemory/packmemory.h"
#include "parsememory/parsememory.h"
#include "service/cloudurl.h"
#include "service/parseguard.h"

namespace {

constexpr std::int32_t kNotAuthorised = -1;  // an answer with an empty "data" does not authorise

// A faulty cloud must fill the memory neither with its answer nor with the log of its pieces. An
// order of 400 points has 40 KB.
constexpr std::size_t kLargestAnswerBytes = 512U << 10;
constexpr int kLoggedPieces = 64;

bool Authorises(const std::string& answer) {
  ST_AUTH_ACK ack{};
  ack.seqStatus = kNotAuthorised;
  const bool parsed = ParseGuarded(answer, [&] {
    return GetCParseMemoryInstance().ParseAuthorizeInfoFromMemory(
        answer.c_str(), static_cast<int>(answer.size()), &ack);
  });
  return parsed && ack.seqStatus == 0;
}

// Redirects data traffic as the answer says. False when the answer cannot be parsed.
bool FollowRedirects(const std::string& answer) {
  ST_SKIP_ADDRESS_ACK ack{};
  return ParseGuarded(answer, [&] {
    return GetCParseMemoryInstance().ParseSkipAddressFromMemory(
        answer.c_str(), static_cast<int>(answer.size()), &ack);
  });
}

}  // namespace

int HTTP_POST_AUTHORIZE_INFO() {
  ST_FRAME_MEMORY_UPLOAD frame{};
  // Deliberately the configured address, never one that the cloud has redirected to.
  AddressFrame(frame, GetCSysSetInstance().GetCloudConfigAttr()->cloudip, kAuthorizeEndpoint);
  frame.bodyLength = static_cast<std::uint16_t>(
      GetCPackMemoryInstance().CreateAuthorizeMemory(frame.body, sizeof(frame.body)));
  frame.answerCallback = OnAuthorizeAnswer;
  if (GetCHttpInstance().POST_MemoryData(&frame) != 0) return -1;
  return frame.successFlag == 0 ? -1 : 0;
}

int PrePost() {
  if (HTTP_POST_AUTHORIZE_INFO() != 0) {
    log_Text(WARN, "Post Authorize Info failed\n");
    return -1;
  }
  log_Text(INFO, "Post Authorize Info Successfully\n");
  return 0;
}

int HTTP_POST_SKIP_ADDRESS_INFO() {
  ST_FRAME_MEMORY_UPLOAD frame{};
  // A redirect, too, is taken back at the configured address.
  AddressFrame(frame, GetCSysSetInstance().GetCloudConfigAttr()->cloudip, kSkipAddressEndpoint);
  frame.answerCallback = OnSkipAddressAnswer;
  return static_cast<int>(GetCHttpInstance().POST_MemoryData(&frame));
}

int SyncHeartBeat() {
  HTTP_POST_SKIP_ADDRESS_INFO();
  return 0;
}

int CheckDemandRecall(ST_CHECKCALL_ACK* answer) {
  ST_FRAME_MEMORY_UPLOAD frame{};
  AddressFrame(frame, GetCSysSetInstance().GetRealIpAddress(), kRecallCheckEndpoint);
  frame.bodyLength = static_cast<std::uint16_t>(
      GetCPackMemoryInstance().CreateRecallMemory(frame.body, sizeof(frame.body)));
  CollectedAnswer collected;
  frame.answerCallback = OnRecallCheckAnswer;
  frame.callbackData = &collected;
  if (GetCHttpInstance().POST_MemoryData_WithExtraArgs(&frame) != 0) return -1;
  const bool parsed = ParseGuarded(collected.text, [&] {
    return GetCParseMemoryInstance().ParseRecallFromMemory(GetCsnSetInstance().GetSn(),
                                                           &collected.text, answer);
  });
  return parsed ? 0 : -1;
}

std::size_t OnAuthorizeAnswer(char* text, std::size_t size, std::size_t count,
                              void* successFlag) noexcept {
  const std::string answer = CopyReceived(text, size, count);
  log_Text(INFO, "Auth Receive Response:\n%s", answer.c_str());
  if (!Authorises(answer)) return kVerdictRejected;
  SetSuccessFlag(successFlag, 1);
  return kVerdictAccepted;
}

std::size_t OnSkipAddressAnswer(char* text, std::size_t size, std::size_t count,
                                void* successFlag) noexcept {
  const std::string answer = CopyReceived(text, size, count);
  log_Text(INFO, "Skip Address Receive Response:\n%s", answer.c_str());
  if (!FollowRedirects(answer)) return kVerdictRejected;
  SetSuccessFlag(successFlag, 1);
  return kVerdictAccepted;
}

std::size_t OnRecallCheckAnswer(char* text, std::size_t size, std::size_t count,
                                void* answer) noexcept {
  auto& whole = *static_cast<CollectedAnswer*>(answer);
  const std::string piece = CopyReceived(text, size, count);
  if (whole.loggedPieces < kLoggedPieces) {
    log_Text(INFO, "Recall Receive Response:\n%s", piece.c_str());
    ++whole.loggedPieces;
  }
  if (whole.text.size() + piece.size() > kLargestAnswerBytes) {
    log_Text(WARN, "Recall answer of more than %zu bytes refused", kLargestAnswerBytes);
    whole.text.clear();  // the pieces so far may be a whole document, and the status 200
    return 0;
  }
  whole.text += piece;
  return piece.size();
}
