#include "main/commands.h"

namespace status {

int ShowVersion(const Options&) {
  return kBadArguments;
}

}  // namespace status
