#include "print/print.h"
namespace status {
std::string JsonText(const Facts&, const Verdict&) {
  return {};
}
}  // namespace status
