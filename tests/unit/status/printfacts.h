// Facts of a gateway for the tests of what is printed.
#pragma once

#include <string>
#include <vector>

#include "collect/facts.h"
#include "judge/finding.h"
#include "support/clock.h"

namespace test {

inline status::LedgerRow PrintedRow(const std::string& name, int type, bool accepted,
                                    std::time_t stamp) {
  return {name, type, accepted, stamp};
}

// A gateway at work at noon: a newest accepted file of a minute ago and one older pending one.
inline status::Facts PrintedFacts() {
  status::Facts facts;
  facts.now = LocalTimeOf(2026, 11, 22, 12);
  facts.card.device = status::Known(true);
  facts.card.mounted = status::Known(true);
  facts.card.readOnly = status::Known(false);
  facts.card.space = status::Known(status::Space{1000, 4000, 50, 200});
  facts.process = status::Known<pid_t>(42);
  facts.configuration.starts = true;
  facts.configuration.isOn = true;
  facts.configuration.serial = "TS20240117";
  facts.segment.present = status::Known(true);
  facts.segment.values = status::Known(std::map<std::uint32_t, double>{{0x01031123, 1.5}});
  facts.unpublished = status::Known(std::vector<std::uint32_t>{});
  facts.ledger.state = status::LedgerState::kGood;
  const auto accepted = PrintedRow("realdata/22/S20261122115900.tar.gz", 2, true, facts.now - 60);
  const auto pending = PrintedRow("alarmdata/22/T20261122115800.tar.gz", 1, false, facts.now - 120);
  facts.ledger.realData = {0, 177, accepted, accepted, {}, {}};
  facts.ledger.alarmData = {1, 0, pending, {}, pending, pending};
  facts.ledger.all = {1, 177, accepted, accepted, pending, pending};
  facts.newestByNow = accepted;
  facts.newestAcceptedByNow = accepted;
  facts.logs.read = {status::Known(7L), status::Known(3L)};
  facts.logs.started = status::Evidence{facts.now - 3600, "Brennik Start running", "Cloudlog.db"};
  facts.logs.intervals = Interval_Info{60, 60, 600, 60, 60};
  facts.logs.newestRecord = facts.now - 5;
  return facts;
}

// A verdict with one finding and a short road.
inline status::Verdict PrintedVerdict() {
  using status::Level;
  using status::LinkState;
  status::Finding finding{"BRN-CARD-FULL",
                          Level::kCritical,
                          "the card is full",
                          {},
                          "no log",
                          "df",
                          "rm",
                          "operations.md#a-full-card"};
  return {Level::kCritical,
          "the card is full",
          {{"card", LinkState::kGood, "present"}, {"ledger", LinkState::kNotJudged, "not judged"}},
          {finding}};
}

}  // namespace test
