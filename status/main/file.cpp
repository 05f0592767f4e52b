#include "main/commands.h"

namespace status {

int ShowFile(const Options&) {
  return kBadArguments;
}

}  // namespace status
