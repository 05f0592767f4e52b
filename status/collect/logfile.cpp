#include "collect/logfile.h"

#include <cerrno>
#include <cstring>

#include "util/paths.h"

namespace status {

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string WhyUnreadable(const std::string& what, int error, bool isThereALogFolder) {
  if (error == EACCES || error == EPERM) return what + " needs root's rights: sudo brennik-status";
  if (error != ENOENT) return what + " cannot be read: " + std::strerror(error);
  if (isThereALogFolder) return "there is no " + what;
  return std::string("there is no ") + paths::kLogDirectory +
         ": the service has not run since the gateway started";
}

}  // namespace status
