#include "main/commands.h"

namespace status {

int ShowLog(const Options&) {
  return kBadArguments;
}

}  // namespace status
