// The cloud refuses, or sends the data elsewhere.
#include "console/faults/cloudorders.h"
#include "console/faults/fault.h"
#include "program/ordernumbers.h"
#include "util/text.h"

namespace console {

namespace {

constexpr long kRedirectSeconds = 900;  // an address check comes every 600 s
constexpr long kRedirectHealSeconds = 900;

long Refused(const Seen& seen, const std::vector<std::string>& endpoints) {
  long refused = 0;
  for (const std::string& endpoint : endpoints) {
    const auto found = seen.exchanges.find(endpoint);
    if (found != seen.exchanges.end()) refused += found->second.refused;
  }
  return refused;
}

bool GoesTo(const Seen& seen, const std::string& address) {
  const auto found = seen.exchanges.find("realdata");
  return found != seen.exchanges.end() && found->second.address == address;
}

Fault RefuseLogin() {
  Fault fault{.name = "refuse-login",
              .group = "cloud",
              .title = "Refuse login",
              .text =
                  "The cloud refuses the login. The service logs in once after each start, so it "
                  "is killed and "
                  "starts again."};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"login", "service"}; };
  fault.needs = {"card", "ledger", "uploads", "values", "clock"};
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    Stand(actions, {"authorize"}, "refuse");
    actions.Kill("service");
    return [](Actions& bench) { Normal(bench, {"authorize"}); };
  };
  fault.isThere = [](Actions& actions, const FaultParams&) {
    return Stands(actions, {"authorize"});
  };
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{
        {.text = "The cloud refuses the login.",
         .check =
             [](const Judged& judged) {
               return Refused(judged.now, {"authorize"}) > Refused(judged.begun, {"authorize"});
             }},
        LogsDuring("The service logs \"Post Authorize Info failed\" and tries again 60 s later.",
                   "Post Authorize Info failed"),
        FilesWait(),
        StatusSays("BRN-LOGIN-REFUSED"),
        LogsAfter("The service logs in at its next try.", "Post Authorize Info Successfully"),
        WaitingFilesAreAccepted(kPendingKinds),
        NothingIsLost()};
  };
  return fault;
}

// An order for half an hour of the first point, so that there is an answer that can be refused.
void OrderHistory(Actions& actions) {
  const std::time_t now = actions.Now();
  constexpr std::time_t kFrom = 2400;
  constexpr std::time_t kTo = 600;
  constexpr std::time_t kOrders = 1000000000;
  const long long order = program::kFirstOrderOfFaults + now % kOrders;
  actions.Cloud(util::Format(R"({"do":"order","order":"%lld:1/1:0001@%s..%s"})", order,
                             Minute(now - kFrom).c_str(), Minute(now - kTo).c_str()));
}

std::vector<Expectation> RefusedUploads(const std::vector<std::string>& kinds) {
  std::vector<Expectation> all = {
      {.text = "The cloud refuses an upload.",
       .check =
           [kinds](const Judged& judged) {
             return Refused(judged.now, kinds) > Refused(judged.begun, kinds);
           }},
  };
  if (kinds == std::vector<std::string>{"calldata"}) {
    all.push_back(
        LogsDuring("The service logs that the sending has failed.", "EqpDataRecall failed"));
    all.push_back(
        {.text = "The service builds the answer to the recall anew, and the cloud accepts it.",
         .phase = Phase::kAfter,
         .check = [](const Judged& judged) {
           return judged.GrownSinceHealed("calldata", &FileCounts::accepted) > 0;
         }});
  } else {
    all.push_back(SendingFails());
    all.push_back(FilesWait());
    all.push_back({.text = "brennik-status says BRN-UPLOADS-REFUSED, or BRN-FILE-REFUSED when "
                           "other files get through.",
                   .check = [](const Judged& judged) {
                     return judged.now.verdictCode == "BRN-UPLOADS-REFUSED" ||
                            judged.now.verdictCode == "BRN-FILE-REFUSED";
                   }});
    all.push_back(WaitingFilesAreAccepted(kPendingKinds));
  }
  all.push_back(NothingIsLost());
  return all;
}

Fault RefuseUploads() {
  Fault fault{.name = "refuse-uploads",
              .group = "cloud",
              .title = "Refuse uploads",
              .text =
                  "The cloud answers uploads with status 1. A round goes from the newest file to "
                  "older ones and "
                  "ends at the first refused one, so other kinds can wait, too. For recalls, "
                  "history is ordered."};
  fault.params = {{.name = "kind",
                   .title = "Kind of files",
                   .kind = "choice",
                   .choices = {"all", "realdata", "alarmdata", "calldata"},
                   .standard = "all"}};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"uploads"}; };
  fault.needs = {"login", "service", "card", "ledger", "values", "clock"};
  fault.begin = [](Actions& actions, const FaultParams& params) -> Undo {
    const auto kinds = Kinds(params.at("kind"));
    Stand(actions, kinds, "refuse");
    if (params.at("kind") == "calldata") OrderHistory(actions);
    return [kinds](Actions& bench) { Normal(bench, kinds); };
  };
  fault.isThere = [](Actions& actions, const FaultParams& params) {
    return Stands(actions, Kinds(params.at("kind")));
  };
  fault.expectations = [](const FaultParams& params) {
    return RefusedUploads(Kinds(params.at("kind")));
  };
  return fault;
}

Fault Redirect() {
  Fault fault{.name = "redirect",
              .group = "cloud",
              .title = "Redirect",
              .text =
                  "The cloud sends the gateway's data to 127.0.0.2, and takes that back at the "
                  "end. The gateway "
                  "learns both at its address check, which comes every 600 s.",
              .seconds = kRedirectSeconds,
              .healSeconds = kRedirectHealSeconds};
  fault.claims = [](const FaultParams&) { return std::set<std::string>{"address"}; };
  fault.needs = {"login", "uploads", "service", "card", "ledger", "values", "clock"};
  // An answer without an address takes nothing back: the gateway then stays where it is.
  fault.begin = [](Actions& actions, const FaultParams&) -> Undo {
    actions.Cloud(R"({"do":"redirect","to":"127.0.0.2:8080"})");
    return [](Actions& bench) { bench.Cloud(R"({"do":"redirect","to":"127.0.0.1:8080"})"); };
  };
  fault.isThere = [](Actions& actions, const FaultParams&) {
    return Redirects(actions, "127.0.0.2");
  };
  fault.expectations = [](const FaultParams&) {
    return std::vector<Expectation>{
        LogsDuring("The service logs \"real IP has become 127.0.0.2\".",
                   "real IP has become 127.0.0.2"),
        {.text = "Live values go to 127.0.0.2.",
         .check = [](const Judged& judged) { return GoesTo(judged.now, "127.0.0.2"); }},
        LogsAfter("The service logs \"real IP has become 127.0.0.1\".",
                  "real IP has become 127.0.0.1"),
        {.text = "Live values go to 127.0.0.1 again.",
         .phase = Phase::kAfter,
         .check = [](const Judged& judged) { return GoesTo(judged.now, "127.0.0.1"); }},
        NothingIsLost()};
  };
  return fault;
}

}  // namespace

std::vector<Fault> CloudFaults() {
  return {RefuseLogin(), RefuseUploads(), Redirect()};
}

}  // namespace console
