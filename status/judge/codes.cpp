#include "judge/codes.h"
namespace status {
std::span<const Code> AllCodes() {
  return {};
}
const Code* FindCode(std::string_view) {
  return nullptr;
}
const char* LevelName(Level) {
  return "";
}
}  // namespace status
