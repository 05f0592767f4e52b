// The parts of a report.
#pragma once

#include <string>
#include <vector>

#include "main/options.h"
#include "main/staging.h"

namespace status {

// A part and what became of it.
struct ReportPart {
  std::string name;  // in the archive
  std::string text;  // what it is, or why it is left out
};

// Writes every part into the folder `parent` of the staging and tells what is there. A part that
// cannot be made is left out with its reason; the others are made all the same.
std::vector<ReportPart> WriteParts(const Options& options, const Staging& staging,
                                   const std::string& parent);

}  // namespace status
