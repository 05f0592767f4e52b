#include "collect/facts.h"

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

void KeepNewer(std::optional<LedgerRow>& newest, const LedgerRow& row) {
  if (!newest || *newest->stamp < *row.stamp) newest = row;
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
  facts.ledger = ReadLedger(place, serviceRuns, [&](const LedgerRow& row) {
    if (!row.stamp || *row.stamp > facts.now + kClockToleranceSeconds) return;
    if (row.type == kRealDataFile) KeepNewer(facts.newestByNow, row);
    if (row.accepted) KeepNewer(facts.newestAcceptedByNow, row);
  });
  facts.logs = CollectLogFacts(place, facts.now);
  return facts;
}

}  // namespace status
