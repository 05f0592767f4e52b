// What one fault is: what it does, what should come of it, and with what it goes together.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "console/faults/actions.h"
#include "console/faults/seen.h"
#include "util/json.h"

namespace console {

// Checked values of a fault's parameters, by name.
using FaultParams = std::map<std::string, std::string>;

long NumberOf(const FaultParams& params, const std::string& name);

struct FaultParam {
  std::string name{};
  std::string title{};
  std::string kind = "number";         // "choice" or "number"
  std::vector<std::string> choices{};  // of a choice
  long min = 0;                        // of a number
  long max = 0;
  std::string standard{};  // the default value
};

// By what an expectation is judged.
struct Judged {
  const Seen& now;
  const Seen& begun;   // when the fault began
  const Seen& healed;  // when it was put right; `now` before that

  // The service has logged a record with this text since the fault began, or since it was put
  // right.
  bool Logged(const std::string& text) const;
  bool LoggedSinceHealed(const std::string& text) const;
  // How much a count of one kind of files has grown, likewise.
  long Grown(const std::string& kind, long FileCounts::*count) const;
  long GrownSinceHealed(const std::string& kind, long FileCounts::*count) const;
};

enum class Phase { kDuring, kAfter };

// Something that should happen because of a fault, or after it.
struct Expectation {
  std::string text{};  // one sentence
  Phase phase = Phase::kDuring;
  std::function<bool(const Judged&)> check{};
  bool isLast = false;  // judged when all others are met
};

// Puts a fault right. It may be called again when it has thrown.
using Undo = std::function<void(Actions&)>;

struct Fault {
  std::string name{};   // "refuse-uploads"
  std::string group{};  // "cloud", "acquisition", "card", "service", "clock"
  std::string title{};
  std::string text{};  // what it does, for people
  std::vector<FaultParam> params{};
  long seconds = 180;      // gateway seconds that it lasts
  long healSeconds = 300;  // gateway seconds after it in which all must be well
  // What it disturbs, and what must be undisturbed for its expectations to come true.
  std::function<std::set<std::string>(const FaultParams&)> claims{};
  std::set<std::string> needs{};
  std::function<Undo(Actions&, const FaultParams&)> begin{};
  std::function<void(Actions&)> keepUp{};  // called while it lasts; may be empty
  // Whether the program that it disturbs still says so; may be empty. Called while it lasts.
  std::function<bool(Actions&, const FaultParams&)> isThere{};
  std::function<std::vector<Expectation>(const FaultParams&)> expectations{};
  bool atRandom = true;  // may be drawn at random
};

// The parameters of a call: those of `given`, or the standard ones. Throws std::invalid_argument
// with a sentence for an unknown name and a value that does not fit.
FaultParams CheckParams(const Fault& fault, const rapidjson::Value* given);
// The standard parameters.
FaultParams StandardParams(const Fault& fault);

// Whether two faults can be active at the same time and still show what they should.
bool FitTogether(const Fault& one, const FaultParams& oneParams, const Fault& other,
                 const FaultParams& otherParams);
// Whether two faults would undo each other.
bool Collide(const Fault& one, const FaultParams& oneParams, const Fault& other,
             const FaultParams& otherParams);

// The kinds of files with a row that waits in the ledger.
inline const std::vector<std::string> kPendingKinds = {"realdata", "alarmdata"};
// Throws until the acquisition side takes orders, so that the next fault can begin at once.
void RequireAcquisition(Actions& actions);

// Expectations that many faults share.
Expectation LogsDuring(const std::string& text, const std::string& logged);
Expectation LogsAfter(const std::string& text, const std::string& logged);
Expectation SendingFails();  // of live values or alarms, by the service's log
Expectation FilesWait();     // more than between two rounds
Expectation StatusSays(const std::string& code);
Expectation WaitingFilesAreAccepted(const std::vector<std::string>& kinds);
Expectation ANewFileIsAccepted();
Expectation NothingIsLost();

// All faults, in the order of the page.
const std::vector<Fault>& FaultCatalogue();
const Fault* FindFault(const std::string& name);

// The parts of the catalogue.
std::vector<Fault> CloudFaults();
std::vector<Fault> AnswerFaults();
std::vector<Fault> AcquisitionFaults();
std::vector<Fault> CardFaults();
std::vector<Fault> ServiceFaults();
std::vector<Fault> ClockFaults();

}  // namespace console
