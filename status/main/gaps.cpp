#include "main/commands.h"

namespace status {

int ShowGaps(const Options&) {
  return kBadArguments;
}

}  // namespace status
