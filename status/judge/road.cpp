#include "judge/road.h"

#include <algorithm>

#include "judge/codes.h"

namespace status {

void Road::Good(const std::string& link, const std::string& text) {
  m_verdict.road.push_back({link, LinkState::kGood, text});
}

void Road::Noted(const std::string& link, const char* code, const Said& said) {
  m_verdict.road.push_back({link, LinkState::kNoted, said.text});
  Add(code, said);
}

void Road::Broken(const std::string& link, const char* code, const Said& said) {
  m_verdict.road.push_back({link, LinkState::kBroken, said.text});
  Add(code, said);
  m_brokenAt = link;
}

void Road::Skipped(const std::string& link, const std::string& reason) {
  m_verdict.road.push_back({link, LinkState::kNotJudged, "not judged, because " + reason});
}

void Road::Behind(const std::string& link) {
  Skipped(link, "the link \"" + m_brokenAt + "\" is broken");
}

Finding& Road::Add(const char* code, const Said& said) {
  Finding finding;
  finding.code = code;
  if (const Code* const known = FindCode(code)) {
    finding.level = known->level;
    finding.remedy = known->remedy;
    finding.anchor = known->anchor;
  }
  finding.level = said.level.value_or(finding.level);
  if (!said.remedy.empty()) finding.remedy = said.remedy;
  finding.text = said.text;
  finding.since = said.since;
  if (!said.since) finding.sinceReason = "nothing on the gateway tells since when";
  finding.evidence = said.evidence;
  m_verdict.findings.push_back(std::move(finding));
  return m_verdict.findings.back();
}

}  // namespace status
