#include "service/answerguard.h"

#include <cstring>
#include <stdexcept>

#include "log/log.h"

std::string ReceivedText(const char* data, std::size_t size, std::size_t count) {
  return {data, size * count};
}

int ParseGuarded(const std::string& answer, const std::function<int()>& parse) {
  try {
    return parse();
  } catch (const std::logic_error& error) {
    log_Text(WARN, "answer with a member missing or of the wrong type (%s):%s", error.what(),
             answer.c_str());
    return -1;
  }
}

void SetSuccessFlag(void* flag, std::int32_t value) {
  std::memcpy(flag, &value, sizeof(value));
}
