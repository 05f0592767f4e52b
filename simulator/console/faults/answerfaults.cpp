// The cloud's answers to uploads are late, broken or strange.
#include "console/faults/cloudorders.h"
#include "console/faults/fault.h"

namespace console {

namespace {

const std::vector<std::string> kUploads = {"realdata", "alarmdata", "calldata"};

constexpr long kLongestStall = 80;  // less than the service waits
constexpr long kLongSeconds = 300;

long Disturbed(const Seen& seen, const std::vector<std::string>& endpoints) {
  long disturbed = 0;
  for (const std::string& endpoint : endpoints) {
    const auto found = seen.exchanges.find(endpoint);
    if (found != seen.exchanges.end()) disturbed += found->second.disturbed;
  }
  return disturbed;
}

Expectation TheCloudDoesIt(const std::vector<std::string>& endpoints = kUploads) {
  return {.text = "The cloud does it.", .check = [endpoints](const Judged& judged) {
            return Disturbed(judged.now, endpoints) > Disturbed(judged.begun, endpoints);
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
       .text = "The cloud answers each upload only after some seconds of the gateway's clock. The "
               "service waits for "
               "90 s of real time before it gives up.",
       .params = {{.name = "seconds",
                   .title = "Seconds",
                   .min = 1,
                   .max = kLongestStall,
                   .standard = "45"}},
       .seconds = kLongSeconds,
       .healSeconds = 2 * kLongSeconds},
      [](Actions&, const FaultParams& params) { return "stall:" + params.at("seconds"); });
  fault.expectations = [](const FaultParams& params) {
    const long seconds = NumberOf(params, "seconds");
    return std::vector<Expectation>{
        TheCloudDoesIt(),
        {.text = "The service waits for the answer, and the file is accepted at its first try.",
         .check =
             [seconds](const Judged& judged) {
               // Only a transfer that has waited can end so late.
               return judged.now.logged &&
                      judged.now.logged(".tar.gz finish", judged.begun.now + seconds);
             }},
        WaitingFilesAreAccepted(kPendingKinds),
        NothingIsLost()};
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

// An answer of some 150 bytes takes as many seconds.
Fault Drip() {
  Fault fault = OfAnswers(
      {.name = "drip",
       .title = "A byte a second",
       .text = "The cloud takes each upload, but sends its answer byte by byte, one in a second of "
               "the gateway's clock. The service judges an answer by its first piece.",
       .seconds = kLongSeconds,
       .healSeconds = 2 * kLongSeconds},
      "drip:1");
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{TheCloudDoesIt(), SendingFails(), DeliveredTwice(),
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
        FilesWait(),
        StatusSays("BRN-UPLOADS-REFUSED"),
        WaitingFilesAreAccepted(kPendingKinds),
        NothingIsLost()};
  };
  return fault;
}

// The service reads an upload's answer to the end of its body, but that of a recall check to its
// end.
Fault Trailers() {
  Fault fault{.name = "trailers",
              .group = "cloud",
              .title = "Endless trailers",
              .text =
                  "The cloud answers recall checks as usual, but lets lines of a header follow the "
                  "answer without "
                  "end."};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"recalls"}; };
  fault.needs = {"login", "uploads", "service", "card", "ledger", "values", "clock"};
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    Stand(actions, {"recall-check"}, "trailers");
    return [](Actions& bench) { Normal(bench, {"recall-check"}); };
  };
  fault.isThere = [](Actions& actions, const FaultParams&) {
    return Stands(actions, {"recall-check"});
  };
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{
        TheCloudDoesIt({"recall-check"}),
        LogsDuring("The service breaks the answer off after 64 KiB of headers.",
                   " bytes of headers broken off"),
        ANewFileIsAccepted(), NothingIsLost()};
  };
  return fault;
}

}  // namespace

std::vector<Fault> AnswerFaults() {
  return {Stall(), Reset(), Drip(), Nonsense(), Trailers()};
}

}  // namespace console
