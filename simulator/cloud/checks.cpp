#include "cloud/checks.h"

#include "cloud/fault.h"

namespace cloud {

bool CheckList::Make(const std::string& name, const std::string& expected,
                     const std::function<std::string()>& find) {
  try {
    m_checks->push_back({name, true, "expected " + expected + "; found " + find()});
    return true;
  } catch (const Fault& fault) {
    m_checks->push_back({name, false, "expected " + expected + "; " + fault.what()});
    if (m_fault->empty()) *m_fault = fault.what();
    return false;
  }
}

bool CheckList::Skip(const std::string& name, const std::string& failed) {
  m_checks->push_back({name, std::nullopt, "not checked, because \"" + failed + "\" failed"});
  return false;
}

}  // namespace cloud
