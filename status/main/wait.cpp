#include "main/commands.h"

namespace status {

int WaitAccepted(const Options&) {
  return kBadArguments;
}

}  // namespace status
