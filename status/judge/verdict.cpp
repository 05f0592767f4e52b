#include "judge/verdict.h"

#include <algorithm>
#include <array>

#include "collect/times.h"
#include "judge/links.h"
#include "util/text.h"

namespace status {
namespace {

struct LinkOfTheRoad {
  const char* name;
  void (*judge)(Judging&, const std::string&);
};
constexpr std::array kRoad = {
    LinkOfTheRoad{"card", JudgeCard},
    LinkOfTheRoad{"mount", JudgeMount},
    LinkOfTheRoad{"free space", JudgeSpace},
    LinkOfTheRoad{"configuration", JudgeConfiguration},
    LinkOfTheRoad{"process", JudgeProcess},
    LinkOfTheRoad{"switched on", JudgeSwitch},
    LinkOfTheRoad{"live values", JudgeSegment},
    LinkOfTheRoad{"newest file packed", JudgePacked},
    LinkOfTheRoad{"ledger", JudgeLedger},
    LinkOfTheRoad{"login", JudgeLogin},
    LinkOfTheRoad{"address in use", JudgeAddress},
    LinkOfTheRoad{"newest file accepted", JudgeAccepted},
};

// Unknown is the least of all findings: the others were judged.
int Rank(Level level) {
  return level == Level::kUnknown ? 0 : static_cast<int>(level) + 1;
}

// Whether it is certain that the cloud gets nothing, whichever link is broken.
bool NothingArrives(const Judging& judging) {
  const Facts& facts = judging.facts;
  if (facts.logs.login.failed) return true;
  const bool isNew = facts.ledger.state == LedgerState::kMissing ||
                     (facts.ledger.state == LedgerState::kGood && !facts.ledger.all.newestAccepted);
  return isNew && !judging.results.newestAcceptedAge && !judging.IsWithinGrace();
}

// The level that the results ask for, whichever link is broken.
Level LevelByResults(const Judging& judging) {
  const auto alarms = [](const std::optional<Range>& range, auto value) {
    return range && value && range->Alarms(static_cast<double>(*value));
  };
  const Thresholds& in = judging.thresholds;
  const Results& results = judging.results;
  if (NothingArrives(judging)) return Level::kCritical;
  const bool mayBeOld = !judging.IsWithinGrace();
  if ((mayBeOld && alarms(in.criticalAge, results.newestAcceptedAge)) ||
      alarms(in.criticalPending, results.pending)) {
    return Level::kCritical;
  }
  if ((mayBeOld && alarms(in.warningAge, results.newestAcceptedAge)) ||
      alarms(in.warningPending, results.pending)) {
    return Level::kWarning;
  }
  return Level::kOk;
}

std::string NormalText(const Judging& judging) {
  const Results& results = judging.results;
  if (!results.newestAcceptedAge) {
    return util::Format(
        "started %s ago, no file is accepted yet",
        Duration(static_cast<long>(judging.facts.now - judging.facts.logs.started->time)).c_str());
  }
  return util::Format("data arrive: the newest accepted file is %s old, %zu pending",
                      Duration(*results.newestAcceptedAge).c_str(), results.pending.value_or(0));
}

// Without a finding, health is judged by the results alone.
void Conclude(const Judging& judging, Verdict& verdict) {
  // The finding of the broken link came last. It stands before others of its level: they cost less.
  if (judging.road.IsBroken())
    std::rotate(verdict.findings.begin(), verdict.findings.end() - 1, verdict.findings.end());
  std::stable_sort(
      verdict.findings.begin(), verdict.findings.end(),
      [](const Finding& a, const Finding& b) { return Rank(a.level) > Rank(b.level); });
  const bool hasCause = !verdict.findings.empty() && Rank(verdict.findings.front().level) > 0;
  if (hasCause) {
    Finding& cause = verdict.findings.front();
    const Level byResults = LevelByResults(judging);
    if (Rank(byResults) > Rank(cause.level)) cause.level = byResults;
    verdict.level = cause.level;
    verdict.text = cause.text;
  } else if (judging.results.newestAcceptedAge ||
             (judging.facts.ledger.state == LedgerState::kGood && judging.IsWithinGrace())) {
    verdict.level = Level::kOk;
    verdict.text = NormalText(judging);
  } else {
    verdict.level = Level::kUnknown;
    verdict.text = "nothing can be judged: " + judging.results.reason;
  }
}

}  // namespace

Verdict Judge(const Facts& facts, const Thresholds& thresholds) {
  Verdict verdict;
  Road road(verdict);
  Judging judging{facts, InForce(thresholds, facts), ResultsOf(facts), road};
  for (const LinkOfTheRoad& link : kRoad) {
    if (road.IsBroken()) {
      road.Behind(link.name);
    } else {
      link.judge(judging, link.name);
    }
  }
  Conclude(judging, verdict);
  return verdict;
}

}  // namespace status
