// The parts of the check of a configuration.
#pragma once

#include <string>
#include <vector>

#include "judge/configcheck.h"

namespace status {

// Faults of the checks. Of those that cost a part the first hundred are kept, and the last one
// tells how many more there are: a file full of faults stays readable.
class FaultList {
 public:
  void Add(Cost cost, const char* code, const std::string& file, long line, std::string text);
  std::vector<ConfigFault> Take();

 private:
  std::vector<ConfigFault> m_faults;
  std::size_t m_leftOut = 0;
};

// The values of sys.xml and sn.xml, with a fault for each that is not in force as it is written.
std::vector<ConfigValue> ReadValues(const Place& place, const Configuration& configuration,
                                    FaultList& faults);

// Looks through the template and the device files for what the loaders accept without a word:
// duplicate devices, points that replace others, unknown types, left out and cut attributes.
void CheckChannels(const Place& place, const Configuration& configuration, FaultList& faults);

// Whether the attribute's text is the number, with nothing around it.
bool IsNumber(const std::string& text, long number);

}  // namespace status
