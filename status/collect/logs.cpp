#include "collect/logs.h"
namespace status {
std::string LogRecord::Where() const {
  return {};
}
LogsRead ReadLogs(const Place&, const LogRange&, const EachRecord&) {
  return {};
}
}  // namespace status
