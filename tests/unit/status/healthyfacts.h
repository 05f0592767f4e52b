// Facts of a gateway on which all is normal, for tests that change one of them.
#pragma once

#include "collect/facts.h"
#include "historydata/historydata.h"
#include "support/clock.h"

namespace test {

inline constexpr std::time_t kNow = 1709812800;  // 2024-03-07 12:00:00 UTC

inline status::LedgerRow Row(const char* name, int type, bool accepted, long age) {
  return {.name = name, .type = type, .accepted = accepted, .stamp = kNow - age};
}

inline status::Evidence Record(long age, const char* text) {
  return {.time = kNow - age, .text = text, .where = "/tmp/CloudLog/0307_log.txt:17"};
}

inline status::Facts HealthyFacts() {
  static const MAP_POINT_ATTR points = {{0x01010001, ST_POINTID_ATTR{}}};
  status::Facts facts;
  facts.now = kNow;
  facts.card = {
      .device = status::Known(true),
      .mounted = status::Known(true),
      .readOnly = status::Known(false),
      .space = status::Known(status::Space{
          .freeBytes = 1U << 30, .totalBytes = 1U << 31, .freeInodes = 900, .totalInodes = 1000})};
  facts.process = status::Known<pid_t>(42);
  facts.configuration.starts = facts.configuration.isOn = true;
  facts.configuration.serial = "TS20240117";
  facts.configuration.points = &points;
  facts.configuration.cloud.RealDataInv = 300;
  facts.configuration.cloud.CheckFailInv = 60;
  facts.configuration.newestChange = kNow - 90000;
  facts.segment = {.present = status::Known(true),
                   .values = status::Known(std::map<std::uint32_t, double>{{0x01010001, 1.5}})};
  facts.unpublished = status::Known(std::vector<std::uint32_t>{});
  facts.ledger.state = status::LedgerState::kGood;
  facts.newestByNow = facts.newestAcceptedByNow =
      Row("realdata/7/S20240307115900.tar.gz", kRealDataFile, true, 60);
  facts.ledger.all.accepted = 200;
  facts.ledger.all.newest = facts.ledger.all.newestAccepted = facts.newestByNow;
  facts.logs.read = {.text = status::Known(20L), .database = status::Known(3L)};
  facts.logs.started = Record(86400, "Brennik Start running");
  facts.logs.isOn = true;
  facts.logs.intervals = Interval_Info{300, 30, 600, 60, -1};
  facts.logs.login.succeeded = Record(86000, "Post Authorize Info Successfully");
  facts.logs.address = "10.0.0.1";
  facts.logs.newestRecord = kNow - 5;
  return facts;
}

}  // namespace test
