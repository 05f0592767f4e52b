#include "collect/configuration.h"
namespace status {
Configuration LoadConfiguration(const Place&) {
  return {};
}
}  // namespace status
