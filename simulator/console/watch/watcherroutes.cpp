// The paths that the watch answers.
#include <mutex>

#include "console/watch/metrics.h"
#include "console/watch/pages.h"
#include "console/watch/watcher.h"

namespace console {
namespace {

using Lock = std::lock_guard<util::Mutex>;

constexpr std::time_t kHourSeconds = 3600;

}  // namespace

void Watcher::AddRoutes(Router& router) {
  router.Get("/api/values/points", [this](const Call&) { return m_values.ReplyPoints(); });
  router.Get("/api/values",
             [this](const Call& call) { return m_values.ReplySeries(call, m_sources.now()); });
  router.Get("/api/month", [this](const Call&) { return AnswerMonth(); });
  router.Get("/api/month/hour", [this](const Call& call) { return AnswerHour(call); });
  router.Get("/api/logs", [this](const Call& call) { return ReplyLogs(m_logs, call); });
  router.Get("/api/explain", ReplyExplain);
  router.Get("/api/ledger", [this](const Call& call) {
    const Lock lock(m_mutex);
    return ReplyLedger(m_account, call);
  });
  router.Get("/api/card", [this](const Call&) {
    const Lock lock(m_mutex);
    return ReplyCard(m_account, m_scene);
  });
  router.Get("/api/trace", [this](const Call& call) { return AnswerTrace(call); });
  router.Get("/metrics", [this](const Call&) { return AnswerMetrics(); });
}

// Gaps are found without the lock: for their causes both logs are read.
Watcher::MonthFacts Watcher::LookAtMonth() const {
  const Lock lock(m_mutex);
  return {.packed = PackedOf(m_account),
          .interval = IntervalsOf(m_scene).realDataInv,
          .now = m_scene.now,
          .changes = m_clockChanges,
          .configuration = m_scene.configuration};
}

std::vector<SeenGap> Watcher::GapsOf(const MonthFacts& facts) {
  return SeenGapsOf(
      m_gaps.Find(facts.packed, facts.interval, facts.now), facts.interval, facts.changes,
      [&facts](const std::string& digits) { return LoggedPointText(facts.configuration, digits); });
}

Reply Watcher::AnswerMonth() {
  const MonthFacts facts = LookAtMonth();
  if (facts.interval < 1) return ErrorReply(404, "the service makes no files of live values");
  const auto gaps = GapsOf(facts);
  std::vector<Day> days;
  {
    const Lock lock(m_mutex);
    days = MonthOf(m_account, facts.interval, facts.now);
  }
  return ReplyMonth(days, facts.interval, gaps);
}

Reply Watcher::AnswerHour(const Call& call) {
  const MonthFacts facts = LookAtMonth();
  const std::time_t from = NumberOf(call, "from", -1, -1, facts.now + kHourSeconds);
  if (facts.interval < 1 || from < kHourSeconds) {
    return ErrorReply(400, "from takes the Unix time at which the hour begins");
  }
  const auto gaps = GapsOf(facts);
  std::vector<Slot> slots;
  {
    const Lock lock(m_mutex);
    slots = HourOf(m_account, facts.interval, from, facts.now);
  }
  return ReplyHour(slots, gaps);
}

Reply Watcher::AnswerTrace(const Call& call) {
  const auto key = KeyOf(call.Get("name"));
  if (!key) return ErrorReply(400, "name takes a file such as S20261122040000.tar.gz");
  TraceFacts facts{
      .key = *key, .file = {}, .arrivals = {}, .records = {}, .transfer = {}, .now = 0};
  {
    const Lock lock(m_mutex);
    const SeenFile* const file = m_account.Find(*key);
    if (file == nullptr) return ErrorReply(404, "no such file was ever seen");
    facts.file = *file;
    facts.now = m_scene.now;
    const auto& transfer = m_scene.sending.underWay[static_cast<std::size_t>(key->kind)];
    if (transfer && transfer->file == *key && m_scene.service.running) facts.transfer = transfer;
    for (const Arrival& arrival : m_recent) {
      if (KeyOf(arrival.name) == key) facts.arrivals.push_back(arrival);
    }
  }
  const std::string name = BaseNameOf(*key);
  facts.records = m_logs.Naming(name.substr(0, name.find('.')));
  return ReplyTrace(facts, m_sources.faults);
}

Reply Watcher::AnswerMetrics() const {
  const StatusSight status = m_status.Latest();
  const Lock lock(m_mutex);
  Reply reply;
  reply.type = kMetricsType;
  reply.body = BenchMetrics({m_account, m_scene, m_witness, status, m_agreed.disagreement.empty()});
  return reply;
}

}  // namespace console
