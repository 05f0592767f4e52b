#include "judge/messages.h"
namespace status {
std::span<const Message> AllMessages() {
  return {};
}
std::vector<const Message*> FindMessages(std::string_view) {
  return {};
}
}  // namespace status
