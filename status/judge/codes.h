// Every code of a finding, what it means and what to do. This table is the one home of the codes:
// the verdict takes remedy and anchor from it, `explain` prints it, the manual's list is made from
// it.
#pragma once

#include <span>
#include <string_view>

#include "judge/finding.h"

namespace status {

struct Code {
  const char* code;     // "BRN-CARD-MISSING"
  Level level;          // how bad it is by itself
  const char* meaning;  // plain words
  const char* remedy;   // a command, or what to do
  const char* anchor;   // section of docs/operations.md
};

std::span<const Code> AllCodes();
// Null for an unknown code.
const Code* FindCode(std::string_view code);

}  // namespace status
