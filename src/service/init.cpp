#include "service/init.h"

#include "config/channelset.h"
#include "config/snset.h"
#include "config/sysset.h"
#include "log/log.h"
#include "util/paths.h"

namespace {

// Deliberately fixed: the configured HeartInterval is ignored.
constexpr std::int32_t kHeartBeatSeconds = 600;
constexpr Interval_Info kAllOff{-1, -1, -1, -1, -1};

Interval_Info IntervalsFrom(const ST_CLOUDSERVER_CONFIG_ATTR& config) {
  return {
      .realDataInv = config.RealDataInv,
      .alarmDataInv = config.AlarmDataInv,
      .heartBeatInv = kHeartBeatSeconds,
      .checkFailInv = config.CheckFailInv,
      .recallInv = config.RecallInv,
  };
}

// Parses one configuration file into its object, which keeps the values but not the document.
template <typename Settings>
bool Load(Settings& settings, const char* path) {
  if (settings.Open(path) != 0) return false;
  settings.Close();
  return true;
}

}  // namespace

int Init(Interval_Info* intervals) {
  if (intervals == nullptr) {
    log_Text(ERROR, "Interval_info pointer is null");
    return -1;
  }
  if (!Load(GetCSysSetInstance(), paths::kSystemFile)) {
    log_Text(ERROR, "Parse sys.xml failed");
    return -1;
  }
  if (!Load(GetCsnSetInstance(), paths::kIdentityFile)) {
    log_Text(ERROR, "Parse sn.xml failed");
    return -1;
  }
  if (!Load(GetCChannelSetInstance(), paths::kChannelTemplate)) {
    log_Text(ERROR, "Parse Channel-template.xml failed");
    return -1;
  }
  const ST_CLOUDSERVER_CONFIG_ATTR* config = GetCSysSetInstance().GetCloudConfigAttr();
  if (config->checked != 0) {
    log_Text(INFO, "Brennik is Set on");
    *intervals = IntervalsFrom(*config);
  } else {
    log_Text(INFO, "Brennik is Set off ");
    *intervals = kAllOff;
  }
  log_Text(INFO,
           "realdata timeinv = %d,alarm timeinv = %d,heartbeat timeinv = %d,checkfail timeinv = "
           "%d,recall timeinv = %d",
           intervals->realDataInv, intervals->alarmDataInv, intervals->heartBeatInv,
           intervals->checkFailInv, intervals->recallInv);
  return 0;
}
