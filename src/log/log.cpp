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

template <typename Store, std::size_t kMessageBytes>
__attribute__((format(printf, 2, 0))) void Report(int level, const char* format,
                                                  va_list arguments) {
  const bool isDebugging = DebugSwitch() != 0;
  if (level == DEBUG && !isDebugging) return;
  char message[kMessageBytes];
  std::vsnprintf(message, sizeof(message), format, arguments);

  if (isDebugging) std::fprintf(stderr, "%s\n", message);
  if (level == DEBUG) return;
  Singleton<Store>::Instance().InsertLog(LogLevelToString(level), message);
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
  va_list arguments;
  va_start(arguments, format);
  Report<CLogTxt, kTextMessageBytes>(level, format, arguments);
  va_end(arguments);
  return 1;
}

unsigned int log_DB(int level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Report<CLogDatabase, kDatabaseMessageBytes>(level, format, arguments);
  va_end(arguments);
  return 1;
}
