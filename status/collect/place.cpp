#include "collect/place.h"

#include "util/directory.h"
#include "util/paths.h"

namespace status {
namespace {

constexpr std::string_view kSystemFile = paths::kSystemFile;
constexpr std::string_view kConfiguration = kSystemFile.substr(0, kSystemFile.rfind('/') + 1);
constexpr std::string_view kCard = paths::kCardMount;

bool Has(const std::string& root, const char* name) {
  return util::Exists((root + "/" + name).c_str());
}

}  // namespace

Place::Place(std::string root) : m_root(std::move(root)) {
  while (m_root.size() > 1 && m_root.back() == '/') m_root.pop_back();
  if (m_root == "/") m_root.clear();
  if (IsLive()) return;
  m_isCard = Has(m_root, "Cloud") && !Has(m_root, "media");
  m_holdsConfiguration = Has(m_root, "Config") && !Has(m_root, "tessel");
  m_isConfiguration =
      (Has(m_root, "sys.xml") || Has(m_root, "Channel-template.xml")) && !Has(m_root, "tessel");
}

std::string Place::At(std::string_view path) const {
  if (m_isCard && path.starts_with(kCard)) {
    return m_root + "/" + std::string(path.substr(kCard.size()));
  }
  if (m_isConfiguration && path.starts_with(kConfiguration)) {
    return m_root + "/" + std::string(path.substr(kConfiguration.size()));
  }
  if (m_holdsConfiguration && path.starts_with(kConfiguration)) {
    return m_root + "/Config/" + std::string(path.substr(kConfiguration.size()));
  }
  return m_root + std::string(path);
}

}  // namespace status
