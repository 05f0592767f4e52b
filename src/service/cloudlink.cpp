#include "service/cloudlink.h"

#include <string>

#include "config/sysset.h"
#include "http/http.h"
#include "log/log.h"
#include "packmemory/packmemory.h"
#include "parsememory/parsememory.h"
#include "service/answerguard.h"
#include "service/cloudurl.h"

namespace {

constexpr std::int32_t kNotAuthorised = -1;  // an answer with an empty "data" does not authorise

}  // namespace

int HTTP_POST_AUTHORIZE_INFO() {
  ST_FRAME_MEMORY_UPLOAD frame{};
  // Deliberately the configured address, never one that the cloud has redirected to.
  cloud::Address(&frame, GetCSysSetInstance().GetCloudConfigAttr()->cloudip, cloud::kAuthorize);
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

std::size_t OnAuthorizeAnswer(char* text, std::size_t size, std::size_t count,
                              void* successFlag) noexcept {
  const std::string answer = ReceivedText(text, size, count);
  log_Text(INFO, "Auth Receive Response:\n%s", answer.c_str());
  ST_AUTH_ACK ack{};
  ack.seqStatus = kNotAuthorised;
  const int parsed = ParseGuarded(answer, [&] {
    return GetCParseMemoryInstance().ParseAuthorizeInfoFromMemory(
        answer.c_str(), static_cast<int>(answer.size()), &ack);
  });
  if (parsed == -1 || ack.seqStatus != 0) return kVerdictRejected;
  SetSuccessFlag(successFlag, 1);
  return kVerdictAccepted;
}
