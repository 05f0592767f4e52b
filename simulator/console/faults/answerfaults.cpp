// The cloud's answers to uploads are late, broken or strange.
#include "console/faults/cloudorders.h"
#include "console/faults/fault.h"
#include "util/text.h"

namespace console {

namespace {

const std::vector<std::string> kUploads = {"realdata", "alarmdata", "calldata"};
const std::vector<std::string> kPendingKinds = {"realdata", "alarmdata"};

constexpr long kPatienceSeconds = 90;  // of the service with an upload, in real time
constexpr long kLongestStall = 300;
constexpr long kStallSeconds = 300;

long Disturbed(const Seen& seen) {
  long disturbed = 0;
  for (const std::string& endpoint : kUploads) {
    const auto found = seen.exchanges.find(endpoint);
    if (found != seen.exchanges.end()) disturbed += found->second.disturbed;
  }
  return disturbed;
}

Expectation TheCloudDoesIt() {
  return {.text = "The cloud does it with an upload.", .check = [](const Judged& judged) {
            return Disturbed(judged.now) > Disturbed(judged.begun);
          }};
}

// The cloud has taken the file, but the gateway has not learned it.
Expectation DeliveredTwice() {
  return {.text = "The service sends such a file again: the cloud gets it twice.",
          .phase = Phase::kAfter,
          .check = [](const Judged& judged) {
            return judged.now.total.deliveredTwice > judged.begun.total.deliveredTwice;
          }};
}

// A fault of uploads whose behaviour is a word of the cloud's options.
Fault OfAnswers(Fault fault,
                const std::function<std::string(Actions&, const FaultParams&)>& behaviour) {
  fault.group = "cloud";
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"uploads"}; };
  fault.needs = {"login", "service", "card", "ledger", "values", "clock", "speed"};
  fault.begin = [behaviour](Actions& actions, const FaultParams& params) -> Undo {
    Stand(actions, kUploads, behaviour(actions, params));
    return [](Actions& bench) { Normal(bench, kUploads); };
  };
  fault.isThere = [](Actions& actions, const FaultParams&) { return Stands(actions, kUploads); };
  return fault;
}

Fault OfAnswers(Fault fault, const char* behaviour) {
  return OfAnswers(std::move(fault),
                   [behaviour](Actions&, const FaultParams&) { return std::string(behaviour); });
}

Fault Stall() {
  Fault fault = OfAnswers(
      {.name = "stall",
       .title = "Stall",
       .text = "The cloud answers an upload only after some seconds of real time. The service "
               "waits 90 s of real time.",
       .params = {{.name = "seconds",
                   .title = "Seconds of real time",
                   .min = 1,
                   .max = kLongestStall,
                   .standard = "20"}},
       .seconds = kStallSeconds,
       .healSeconds = 2 * kStallSeconds},
      [](Actions&, const FaultParams& params) { return "stall:" + params.at("seconds"); });
  fault.expectations = [](const FaultParams& params) {
    std::vector<Expectation> all = {TheCloudDoesIt()};
    if (NumberOf(params, "seconds") > kPatienceSeconds) {
      all.push_back(LogsDuring("The service gives up after 90 s and keeps the file.",
                               "failed: Timeout was reached"));
      all.push_back(DeliveredTwice());
    } else {
      all.push_back(LogsDuring("The service waits for the answer, and the file is accepted.",
                               ".tar.gz finish"));
    }
    all.push_back(WaitingFilesAreAccepted(kPendingKinds));
    all.push_back(NothingIsLost());
    return all;
  };
  return fault;
}

Fault Reset() {
  Fault fault =
      OfAnswers({.name = "reset",
                 .title = "Reset connections",
                 .text = "The cloud resets the connection of each upload instead of answering."},
                "reset");
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{TheCloudDoesIt(),
                                    SendingFails(),
                                    FilesWait(),
                                    StatusSays("BRN-CLOUD-OTHER"),
                                    WaitingFilesAreAccepted(kPendingKinds),
                                    NothingIsLost()};
  };
  return fault;
}

// At a byte in a second of the gateway's clock an answer takes some minutes of it.
Fault Drip() {
  Fault fault = OfAnswers(
      {.name = "drip",
       .title = "A byte a second",
       .text = "The cloud takes each upload, but sends its answer byte by byte, one in a second of "
               "the gateway's clock. The service judges an answer by its first piece.",
       .seconds = kStallSeconds,
       .healSeconds = 2 * kStallSeconds},
      [](Actions& actions, const FaultParams&) {
        return util::Format("drip:%.3f", 1 / actions.Speed());
      });
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{SendingFails(), TheCloudDoesIt(), DeliveredTwice(),
                                    ANewFileIsAccepted(), NothingIsLost()};
  };
  return fault;
}

Fault Nonsense() {
  Fault fault = OfAnswers(
      {.name = "nonsense",
       .title = "Nonsense",
       .text = "The cloud answers uploads with HTTP 200 and the page of somebody else, as a "
               "captive portal does."},
      "nonsense");
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{
        TheCloudDoesIt(),
        LogsDuring("The service logs \"UPloadFile recv error format message\".",
                   "UPloadFile recv error format message"),
        FilesWait(), WaitingFilesAreAccepted(kPendingKinds), NothingIsLost()};
  };
  return fault;
}

Fault Trailers() {
  Fault fault = OfAnswers(
      {.name = "trailers",
       .title = "Endless trailers",
       .text = "The cloud accepts each upload, but lets lines of a header follow its answer "
               "without end."},
      "trailers");
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{
        TheCloudDoesIt(),
        LogsDuring("The service breaks the answer off after 64 KiB of headers.",
                   " bytes of headers broken off"),
        LogsDuring("The file counts as accepted, because the answer itself was whole.",
                   "EqpUploadDataInfo successfully"),
        ANewFileIsAccepted(), NothingIsLost()};
  };
  return fault;
}

}  // namespace

std::vector<Fault> AnswerFaults() {
  return {Stall(), Reset(), Drip(), Nonsense(), Trailers()};
}

}  // namespace console
