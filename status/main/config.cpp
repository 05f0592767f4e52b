#include "main/commands.h"

namespace status {

int CheckConfig(const Options&) {
  return kBadArguments;
}

}  // namespace status
