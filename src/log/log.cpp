#include "log/log.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>

#include "log/logdatabase.h"
#include "log/logtxt.h"

namespace {

constexpr std::size_t kTextMessageBytes = 2048;
constexpr std::size_t kDatabaseMessageBytes = 255;

std::atomic<std::uint8_t>& DebugSwitch() {
  static std::atomic<std::uint8_t> debug{0};
  return debug;
}

bool IsDropped(int level) {
  return level == DEBUG && DebugSwitch() == 0;
}

// Echoes the message while debugging; says whether it is to be stored.
bool EchoAndDecide(int level, const char* message) {
  if (DebugSwitch() != 0) std::fprintf(stderr, "%s\n", message);
  return level != DEBUG;
}

}  // namespace

const char* LogLevelToString(int level) {
  static constexpr std::array kNames = {"SEND", "RECV", "DEBUG", "INFO", "WARN", "ERROR", "FATAL"};
  if (level < SEND || level > FATAL) return "UNKNOWN";
  return kNames[static_cast<std::size_t>(level)];
}

unsigned int log_init(int debug) {
  DebugSwitch() = static_cast<std::uint8_t>(debug);
  Singleton<CLogDatabase>::Instance().Init();
  Singleton<CLogTxt>::Instance().Init();
  return 1;
}

unsigned int log_Text(int level, const char* format, ...) {
  if (IsDropped(level)) return 1;
  char message[kTextMessageBytes];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof(message), format, arguments);
  va_end(arguments);

  if (!EchoAndDecide(level, message)) return 1;
  Singleton<CLogTxt>::Instance().InsertLog(LogLevelToString(level), message);
  return 1;
}

unsigned int log_DB(int level, const char* format, ...) {
  if (IsDropped(level)) return 1;
  char message[kDatabaseMessageBytes];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof(message), format, arguments);
  va_end(arguments);

  if (!EchoAndDecide(level, message)) return 1;
  Singleton<CLogDatabase>::Instance().InsertLog(LogLevelToString(level), message);
  return 1;
}
