#include "main/commands.h"

namespace status {

int Explain(const Options&) {
  return kBadArguments;
}

}  // namespace status
