// The demand-recall worker.
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <string>

#include "historydata/historydata.h"
#include "log/log.h"
#include "schedule/workers.h"
#include "service/cloudlink.h"
#include "service/uploaddrivers.h"
#include "util/paths.h"

namespace {

constexpr int kRepeatsUntilResent = 3;

// The order that was answered last.
struct Answered {
  std::int32_t lastSeq = 0;  // 0: none, or one whose upload failed
  int sameCount = 1;         // repeats of it since, this one included
};

// What the cloud orders now; nothing when it orders none or cannot be asked.
std::optional<ST_CHECKCALL_ACK> AskForOrder() {
  ST_CHECKCALL_ACK order{};
  if (CheckDemandRecall(&order) != 0 || order.id == 0) return std::nullopt;
  return order;
}

// Says whether the order is to be answered now. The cloud may repeat an order before it has taken
// in the answer. Two repeats are only counted; the third and every later one is answered again.
bool NeedsAnswer(std::int32_t sequence, Answered& answered) {
  if (sequence != answered.lastSeq) {
    answered.sameCount = 1;
    return true;
  }
  if (answered.sameCount >= kRepeatsUntilResent) return true;
  log_Text(WARN,
           "Recall receive the same seq: %d==%d times:%d, Will recreate file after %d times\r\n",
           answered.lastSeq, answered.lastSeq, answered.sameCount, kRepeatsUntilResent);
  ++answered.sameCount;
  return false;
}

// Packs the ordered history and sends it.
void AnswerOrder(const ST_CHECKCALL_ACK& order, Answered& answered) {
  std::string archive;
  if (CreateRecallDataFile(&order, paths::kCallData, &archive) < 0) {
    log_DB(ERROR, "Brennik Create Recall Data File error");
    return;
  }
  if (archive.empty()) {  // too large ever to be sent: reading it all again would not help
    answered.lastSeq = order.id;
    return;
  }
  GetCHistoryDataInstance().SaveRecallData(archive.c_str());
  const bool accepted = UploadDemandRecall(archive.c_str()) == 0;
  answered.lastSeq = accepted ? order.id : 0;
}

}  // namespace

void* HandleRecall(void* interval) {
  const auto& seconds = *static_cast<const std::int32_t*>(interval);
  Answered answered;
  for (;;) {
    if (const auto order = AskForOrder(); order && NeedsAnswer(order->id, answered)) {
      AnswerOrder(*order, answered);
    }
    sleep(static_cast<unsigned>(seconds));
  }
}
