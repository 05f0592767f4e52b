#include "console/faults/fault.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "util/text.h"

namespace console {

namespace {

constexpr long kUsuallyPending = 2;  // live values and alarms of a minute

bool Overlap(const std::set<std::string>& one, const std::set<std::string>& other) {
  return std::ranges::any_of(one, [&](const std::string& each) { return other.contains(each); });
}

const FaultParam& FindParam(const Fault& fault, const std::string& name) {
  const auto found = std::ranges::find(fault.params, name, &FaultParam::name);
  if (found == fault.params.end())
    throw std::invalid_argument(fault.name + " has no parameter " + name);
  return *found;
}

long ParseNumber(const std::string& text, const std::string& name) {
  long number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw std::invalid_argument(name + " must be a whole number");
  }
  return number;
}

std::string TextOf(const rapidjson::Value& value, const std::string& name) {
  if (value.IsString()) return value.GetString();
  if (value.IsInt64()) return std::to_string(value.GetInt64());
  throw std::invalid_argument(name + " must be a whole number or a text");
}

void CheckParam(const FaultParam& param, const std::string& value) {
  if (param.kind == "choice") {
    if (std::ranges::find(param.choices, value) != param.choices.end()) return;
    throw std::invalid_argument(param.name + " cannot be '" + value + "'");
  }
  const long number = ParseNumber(value, param.name);
  if (number >= param.min && number <= param.max) return;
  throw std::invalid_argument(
      util::Format("%s must be from %ld to %ld", param.name.c_str(), param.min, param.max));
}

// The files of these kinds that `count` counts.
long Sum(const Seen& seen, const std::vector<std::string>& kinds, long FileCounts::*count) {
  long sum = 0;
  for (const std::string& kind : kinds) {
    const auto found = seen.kinds.find(kind);
    if (found != seen.kinds.end()) sum += found->second.*count;
  }
  return sum;
}

}  // namespace

long NumberOf(const FaultParams& params, const std::string& name) {
  return ParseNumber(params.at(name), name);
}

bool Judged::Logged(const std::string& text) const {
  // A step of the clock may have moved the beginning.
  const auto passed = static_cast<std::time_t>(now.elapsed - begun.elapsed);
  return now.logged && now.logged(text, std::min(begun.now, now.now - passed));
}

bool Judged::LoggedSinceHealed(const std::string& text) const {
  const auto passed = static_cast<std::time_t>(now.elapsed - healed.elapsed);
  return now.logged && now.logged(text, now.now - passed);
}

long Judged::Grown(const std::string& kind, long FileCounts::*count) const {
  return Sum(now, {kind}, count) - Sum(begun, {kind}, count);
}

long Judged::GrownSinceHealed(const std::string& kind, long FileCounts::*count) const {
  return Sum(now, {kind}, count) - Sum(healed, {kind}, count);
}

FaultParams StandardParams(const Fault& fault) {
  FaultParams params;
  for (const FaultParam& param : fault.params) params[param.name] = param.standard;
  return params;
}

FaultParams CheckParams(const Fault& fault, const rapidjson::Value* given) {
  FaultParams params = StandardParams(fault);
  if (given == nullptr) return params;
  if (!given->IsObject()) throw std::invalid_argument("params must be an object");
  for (const auto& member : given->GetObject()) {
    const std::string name = member.name.GetString();
    const std::string value = TextOf(member.value, name);
    CheckParam(FindParam(fault, name), value);
    params[name] = value;
  }
  return params;
}

bool Collide(const Fault& one, const FaultParams& oneParams, const Fault& other,
             const FaultParams& otherParams) {
  return Overlap(one.claims(oneParams), other.claims(otherParams));
}

bool FitTogether(const Fault& one, const FaultParams& oneParams, const Fault& other,
                 const FaultParams& otherParams) {
  return !Collide(one, oneParams, other, otherParams) &&
         !Overlap(one.claims(oneParams), other.needs) &&
         !Overlap(other.claims(otherParams), one.needs);
}

Expectation LogsDuring(const std::string& text, const std::string& logged) {
  return {.text = text, .check = [logged](const Judged& judged) { return judged.Logged(logged); }};
}

Expectation LogsAfter(const std::string& text, const std::string& logged) {
  return {.text = text, .phase = Phase::kAfter, .check = [logged](const Judged& judged) {
            return judged.LoggedSinceHealed(logged);
          }};
}

Expectation SendingFails() {
  return {.text = "The service logs that the sending has failed, and keeps the file.",
          .check = [](const Judged& judged) {
            return judged.Logged("EqpUploadDataInfo failed") ||
                   judged.Logged("EqpUploadAlarmDataInfo failed");
          }};
}

Expectation FilesWait() {
  return {.text = "More files wait than usual.", .check = [](const Judged& judged) {
            return judged.now.total.pending > std::max(judged.begun.total.pending, kUsuallyPending);
          }};
}

Expectation StatusSays(const std::string& code) {
  return {.text = "brennik-status says " + code + ".",
          .check = [code](const Judged& judged) { return judged.now.verdictCode == code; }};
}

Expectation WaitingFilesAreAccepted(const std::vector<std::string>& kinds) {
  return {.text = "The cloud accepts all files that have waited.",
          .phase = Phase::kAfter,
          .check = [kinds](const Judged& judged) {
            const long accepted = Sum(judged.now, kinds, &FileCounts::accepted) -
                                  Sum(judged.healed, kinds, &FileCounts::accepted);
            return accepted > 0 && accepted >= Sum(judged.healed, kinds, &FileCounts::pending);
          }};
}

Expectation ANewFileIsAccepted() {
  return {.text = "The cloud accepts new files.",
          .phase = Phase::kAfter,
          .check = [](const Judged& judged) {
            return judged.GrownSinceHealed("realdata", &FileCounts::accepted) > 0;
          }};
}

Expectation NothingIsLost() {
  return {.text = "No recorded file is lost.",
          .phase = Phase::kAfter,
          .check =
              [](const Judged& judged) {
                return judged.now.total.lostRecorded <= judged.begun.total.lostRecorded;
              },
          .isLast = true};
}

const std::vector<Fault>& FaultCatalogue() {
  static const std::vector<Fault> catalogue = [] {
    std::vector<Fault> all;
    for (const auto& part : {CloudFaults(), AnswerFaults(), AcquisitionFaults(), CardFaults(),
                             ServiceFaults(), ClockFaults()}) {
      all.insert(all.end(), part.begin(), part.end());
    }
    return all;
  }();
  return catalogue;
}

const Fault* FindFault(const std::string& name) {
  const auto& all = FaultCatalogue();
  const auto found = std::ranges::find(all, name, &Fault::name);
  return found == all.end() ? nullptr : &*found;
}

}  // namespace console
