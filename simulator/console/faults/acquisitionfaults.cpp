// The acquisition side publishes nothing, too little, or many alarms.
#include "console/faults/fault.h"
#include "util/text.h"

namespace console {

namespace {

constexpr long kEventsInAFile = 20;
constexpr long kMostEvents = 500;
constexpr long kBurstSeconds = 60;

const char* const kQuestion = R"({"do":"state"})";

bool AcquisitionSays(Actions& actions, const char* member) {
  rapidjson::Document state;
  state.Parse(actions.Acquisition(kQuestion).c_str());
  if (!state.IsObject() || !state.HasMember(member)) return false;
  const rapidjson::Value& value = state[member];
  return value.IsBool() ? value.GetBool() : !value.IsNull();
}

void BackToNormal(Actions& actions) {
  actions.Acquisition(R"({"do":"normal"})");
}

// What all faults that stop the snapshots have in common.
Fault OfValues(Fault fault, const std::string& logged, const std::string& code) {
  fault.group = "acquisition";
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"values"}; };
  fault.needs = {"login", "uploads", "service", "card", "ledger", "clock"};
  fault.expectations = [logged, code](const FaultParams&) {
    return std::vector<Expectation>{
        LogsDuring("The service logs \"" + logged + "\" and makes no file of live values.", logged),
        StatusSays(code), ANewFileIsAccepted(), NothingIsLost()};
  };
  return fault;
}

Fault StopAcquisition() {
  Fault fault = OfValues(
      {.name = "stop-acquisition",
       .title = "Stop the acquisition side",
       .text =
           "The acquisition side ends and takes its live values along. No values, no alarms and "
           "no history come until it starts again."},
      "Brennik Get RealData error", "BRN-SEGMENT-MISSING");
  fault.claims = [](const FaultParams&) {
    return std::set<std::string>{"values", "alarms", "acquisition"};
  };
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    actions.Stop("acquisition");
    return [](Actions& bench) {
      bench.Start("acquisition");
      RequireAcquisition(bench);
    };
  };
  return fault;
}

Fault EmptySegment() {
  Fault fault =
      OfValues({.name = "empty-segment",
                .title = "Empty segment",
                .text = "The segment of live values is there, but says that it holds none."},
               "Brennik Get RealData error", "BRN-SEGMENT-MISSING");
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    actions.Acquisition(R"({"do":"empty"})");
    return BackToNormal;
  };
  fault.isThere = [](Actions& actions, const FaultParams&) {
    return AcquisitionSays(actions, "empty");
  };
  return fault;
}

Fault UnpublishedPoint() {
  Fault fault = OfValues(
      {.name = "unpublished-point",
       .title = "Unpublished point",
       .text = "The acquisition side leaves out one configured point. The service makes no file of "
               "live values until configuration and acquisition side agree."},
      "Error, can't find id", "BRN-SEGMENT-UNPUBLISHED");
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    actions.Acquisition(R"({"do":"leave-out"})");
    return BackToNormal;
  };
  fault.isThere = [](Actions& actions, const FaultParams&) {
    return AcquisitionSays(actions, "left_out");
  };
  return fault;
}

Fault AlarmBurst() {
  Fault fault{.name = "alarm-burst",
              .group = "acquisition",
              .title = "Burst of alarms",
              .text =
                  "The acquisition side records many alarm events at once. The service packs 20 "
                  "into a file.",
              .params = {{.name = "events",
                          .title = "Alarm events",
                          .min = 1,
                          .max = kMostEvents,
                          .standard = "45"}},
              .seconds = kBurstSeconds};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"alarms"}; };
  fault.needs = {"login", "uploads", "service", "card", "ledger", "clock", "acquisition"};
  fault.begin = [](Actions& actions, const FaultParams& params) -> Undo {
    actions.Acquisition(util::Format(R"({"do":"burst","events":%s})", params.at("events").c_str()));
    return [](Actions&) {};
  };
  fault.expectations = [](const FaultParams& params) {
    const long files = (NumberOf(params, "events") + kEventsInAFile - 1) / kEventsInAFile;
    return std::vector<Expectation>{
        {.text =
             util::Format("The service makes %ld file%s of alarms.", files, files == 1 ? "" : "s"),
         .check =
             [files](const Judged& judged) {
               return judged.Grown("alarmdata", &FileCounts::produced) >= files;
             }},
        {.text = "The cloud accepts them.",
         .phase = Phase::kAfter,
         .check =
             [files](const Judged& judged) {
               return judged.Grown("alarmdata", &FileCounts::accepted) >= files;
             }},
        NothingIsLost()};
  };
  return fault;
}

}  // namespace

void RequireAcquisition(Actions& actions) {
  actions.Acquisition(kQuestion);
}

std::vector<Fault> AcquisitionFaults() {
  return {StopAcquisition(), EmptySegment(), UnpublishedPoint(), AlarmBurst()};
}

}  // namespace console
