#include "service/parseguard.h"

#include <stdexcept>

#include "log/log.h"

bool ParseGuarded(const std::string& answer, const std::function<int()>& parse) {
  try {
    return parse() == 0;
  } catch (const std::logic_error& error) {
    log_Text(WARN, "answer with a member missing or of the wrong type (%s):%s", error.what(),
             answer.c_str());
    return false;
  }
}
