// The account in plain words, and as JSON.
#pragma once

#include <string>
#include <vector>

#include "console/watch/account.h"
#include "console/watch/causes.h"
#include "console/watch/scene.h"
#include "judge/finding.h"

namespace console {

// One thing that is not normal.
struct Reason {
  status::Level level = status::Level::kWarning;
  std::string text;  // one sentence without a full stop
  Topic topic = Topic::kOther;
};

// What the outside witness says, from account and scene alone.
struct Witness {
  status::Level level = status::Level::kOk;
  std::string text;             // "all normal", or the reasons
  std::vector<Reason> reasons;  // causes first, then what comes of them
};

Witness WitnessOf(const Account& account, const Scene& scene);

}  // namespace console
