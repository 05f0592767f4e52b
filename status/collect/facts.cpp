#include "collect/facts.h"

#include <utility>

#include "historydata/historydata.h"
#include "packfile/realdatadocument.h"

namespace status {
namespace {

constexpr long kClockToleranceSeconds = 60;
constexpr int kChannelShift = 24;  // a DataId's channel

// Points that every snapshot needs and the acquisition side does not publish.
Fact<std::vector<std::uint32_t>> Unpublished(const Configuration& configuration,
                                             const Segment& segment) {
  using Points = std::vector<std::uint32_t>;
  if (configuration.points == nullptr) return Unknown<Points>("there is no usable configuration");
  if (!segment.values) return Unknown<Points>(segment.values.reason);
  Points unpublished;
  for (const auto& [dataId, point] : *configuration.points) {
    if (dataId >> kChannelShift == kChannelLeftOut) continue;
    if (!segment.values->contains(dataId)) unpublished.push_back(dataId);
  }
  return Known(std::move(unpublished));
}

}  // namespace

Facts CollectFacts(const Place& place) {
  Facts facts;
  facts.now = std::time(nullptr);
  facts.place = place;
  facts.card = LookAtCard(place);
  facts.process = FindService(place);
  facts.configuration = LoadConfiguration(place);
  facts.segment = LookAtSegment(place);
  facts.unpublished = Unpublished(facts.configuration, facts.segment);
  const bool serviceRuns = facts.process && *facts.process != 0;
  LedgerSums sums = SumUpLedger(place, serviceRuns, facts.now + kClockToleranceSeconds);
  facts.ledger = std::move(sums.ledger);
  facts.newestByNow = std::move(sums.newestByNow);
  facts.newestAcceptedByNow = std::move(sums.newestAcceptedByNow);
  facts.logs = CollectLogFacts(place, facts.now);
  return facts;
}

}  // namespace status
