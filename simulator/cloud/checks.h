// Owns the list of what the cloud has checked in one request.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace cloud {

// One check of a request.
struct Check {
  std::string name;            // "Content-Length"
  std::optional<bool> passed;  // nothing: it could not be made, because another one failed
  std::string text;            // what was expected and what was found, or which one failed

  bool operator==(const Check&) const = default;
};

// Makes checks one after the other and goes on after those that fail. One thread uses it.
class CheckList {
 public:
  // The results go to `checks`, the words of the first failure to `fault`; both outlive the list.
  CheckList(std::vector<Check>* checks, std::string* fault) : m_checks(checks), m_fault(fault) {}

  // Makes one check. `find` returns what was found, and throws a Fault when that is not what was
  // expected. True when the check has passed.
  bool Make(const std::string& name, const std::string& expected,
            const std::function<std::string()>& find);
  // Records a check that cannot be made because the check `failed` has not passed. False.
  bool Skip(const std::string& name, const std::string& failed);

 private:
  std::vector<Check>* m_checks;
  std::string* m_fault;
};

}  // namespace cloud
