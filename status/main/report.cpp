#include "main/commands.h"

namespace status {

int MakeReport(const Options&) {
  return kBadArguments;
}

}  // namespace status
