// The road from the card to the cloud while it is judged, link by link.
#pragma once

#include <optional>
#include <string>

#include "judge/verdict.h"

namespace status {

// What a finding says beside its code, which gives level, remedy and anchor.
struct Said {
  std::string text;
  std::optional<std::time_t> since = std::nullopt;
  std::string evidence = {};
  std::optional<Level> level = std::nullopt;  // another one than the code's
  std::string remedy = {};                    // another one than the code's
};

// Collects links and findings. The first broken link is the cause; later links are not judged.
class Road {
 public:
  explicit Road(Verdict& verdict) : m_verdict(verdict) {}

  bool IsBroken() const { return !m_brokenAt.empty(); }

  // The link is as it should be.
  void Good(const std::string& link, const std::string& text);
  // The link works, but something is to be said.
  void Noted(const std::string& link, const char* code, const Said& said);
  // The link is broken.
  void Broken(const std::string& link, const char* code, const Said& said);
  // Nothing is known of the link. The judge goes on.
  void Skipped(const std::string& link, const std::string& reason);
  // The link stands behind the broken one.
  void Behind(const std::string& link);

 private:
  Finding& Add(const char* code, const Said& said);

  Verdict& m_verdict;
  std::string m_brokenAt;
};

}  // namespace status
