#include "console/watch/watcher.h"

#include <mutex>
#include <utility>

namespace console {
namespace {

using Lock = std::lock_guard<util::Mutex>;
using std::chrono::milliseconds;

constexpr std::size_t kLogTailBytes = 2U << 20;

}  // namespace

Watcher::Watcher(WatchSources sources)
    : m_sources(std::move(sources)),
      m_card(m_sources.place, m_sources.steadyNow),
      m_logStream(m_sources.place, {.since = std::nullopt, .tailBytes = kLogTailBytes}),
      m_orders(m_sources.place, m_sources.document),
      m_factsPace(m_sources.steadyNow, milliseconds(900), 30),
      m_machinePace(m_sources.steadyNow, milliseconds(400), 50),
      m_configurationPace(m_sources.steadyNow, milliseconds(5000), 50),
      m_monthPace(m_sources.steadyNow, milliseconds(900), 30),
      m_values(m_sources.alarms),
      m_gaps(m_sources.place, m_sources.steadyNow),
      m_status(m_sources.runStatus) {
  m_next.since = m_sources.now();
  m_next.now = m_next.since;
  m_next.isFolderCard = m_sources.isFolderCard;
  LookAtConfiguration();
  m_scene = m_next;
  m_road = RoadOf(m_account, m_scene);
  const Reason reason{.level = status::Level::kWarning,
                      .text = "the watch has not looked yet",
                      .topic = Topic::kOther};
  m_witness = {.level = reason.level, .text = reason.text, .reasons = {reason}};
}

Watcher::~Watcher() = default;

Sight Watcher::See() const {
  const StatusSight status = m_status.Latest();
  const Lock lock(m_mutex);
  Sight sight{.total = m_account.Total(),
              .realData = m_account.Of(Kind::kRealData),
              .alarmData = m_account.Of(Kind::kAlarmData),
              .callData = m_account.Of(Kind::kCallData),
              .isNormal = m_witness.level == status::Level::kOk,
              .reasons = m_witness.text,
              .statusExit = status.exit,
              .statusCode = status.code,
              .logged = {}};
  sight.logged = [this](std::string_view text, std::time_t since) {
    return m_logs.Logged(text, since);
  };
  return sight;
}

}  // namespace console
