// Troubles of the card.
#include "console/faults/fault.h"

namespace console {

namespace {

Expectation ServiceEnds() {
  return {.text = "The service ends and is started again.", .check = [](const Judged& judged) {
            return judged.now.serviceRestarts > judged.begun.serviceRestarts;
          }};
}

Fault LockLedger() {
  Fault fault{.name = "lock-ledger",
              .group = "card",
              .title = "Lock the ledger",
              .text =
                  "Another program holds an exclusive lock on the ledger. The service can neither "
                  "record nor mark "
                  "files; new rows wait in its memory."};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"ledger"}; };
  fault.needs = {"login", "uploads", "service", "card", "values", "clock"};
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    actions.LockLedger();
    return [](Actions& bench) { bench.UnlockLedger(); };
  };
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{
        LogsDuring("The service logs once that recording fails and rows wait in memory.",
                   "rows wait in memory"),
        StatusSays("BRN-LEDGER-BUSY"),
        LogsAfter("The service logs \"ledger: recording and ageing succeed again\".",
                  "ledger: recording and ageing succeed again"),
        ANewFileIsAccepted(), NothingIsLost()};
  };
  return fault;
}

Fault FillCard() {
  Fault fault{.name = "fill-card",
              .group = "card",
              .title = "Fill the card",
              .text =
                  "One large file takes all room of the card. Live values of these cycles are "
                  "lost; alarms wait in "
                  "memory."};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"card"}; };
  fault.needs = {"login", "uploads", "service", "ledger", "values", "clock"};
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    actions.FillCard();
    return [](Actions& bench) { bench.EmptyCard(); };
  };
  fault.keepUp = [](Actions& actions) { actions.FillCard(); };
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{
        LogsDuring("The service logs that a file cannot be made.", "failed,errno"),
        StatusSays("BRN-CARD-FULL"), ANewFileIsAccepted(), NothingIsLost()};
  };
  return fault;
}

Fault PullCard() {
  Fault fault{
      .name = "pull-card",
      .group = "card",
      .title = "Pull the card",
      .text =
          "The card's device /dev/mmcblk0p1 and all files of the card go away, and come back at "
          "the end. "
          "In the sandbox the place where the card is mounted stays, and takes files; what is "
          "written "
          "there meanwhile goes out of sight when the card comes back, as on a real gateway. "
          "The files of the cycle under way are lost."};
  fault.claims = [](const FaultParams&) {
    return std::set<std::string>{"card", "ledger", "service"};
  };
  fault.needs = {"login", "uploads", "values", "clock"};
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    actions.PullCard();
    return [](Actions& bench) { bench.PutCard(); };
  };
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{
        ServiceEnds(),
        LogsDuring(
            "The service logs \"no sd card, please check if insert the sd card\" after each start.",
            "no sd card, please check if insert the sd card"),
        StatusSays("BRN-CARD-MISSING"),
        LogsAfter("The service starts with the card and logs in.",
                  "Post Authorize Info Successfully"),
        ANewFileIsAccepted(),
        NothingIsLost()};
  };
  return fault;
}

}  // namespace

std::vector<Fault> CardFaults() {
  return {LockLedger(), FillCard(), PullCard()};
}

}  // namespace console
