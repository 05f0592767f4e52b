// Replies to the page: month, logs, explanations, ledger and card.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "console/watch/account.h"
#include "console/watch/gapfinder.h"
#include "console/watch/logring.h"
#include "console/watch/month.h"
#include "console/watch/scene.h"
#include "console/web/router.h"

namespace console {

Reply ReplyMonth(const std::vector<Day>& days, long interval, const std::vector<SeenGap>& gaps);
Reply ReplyHour(const std::vector<Slot>& slots, const std::vector<SeenGap>& gaps);
Reply ReplyLogs(const LogRing& logs, const Call& call);
Reply ReplyExplain(const Call& call);
// The caller keeps the account from changing.
Reply ReplyLedger(const Account& account, const Call& call);
Reply ReplyCard(const Account& account, const Scene& scene);

// A parameter between `least` and `most`; `otherwise` when it is missing or no number.
std::int64_t NumberOf(const Call& call, const char* name, std::int64_t otherwise,
                      std::int64_t least, std::int64_t most);

}  // namespace console
