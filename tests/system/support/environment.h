// An environment variable for a while.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace test {

// Sets a variable, which a service that starts meanwhile inherits, and restores it at the end.
class Environment {
 public:
  Environment(std::string name, const std::string& value) : m_name(std::move(name)) {
    if (const char* earlier = std::getenv(m_name.c_str())) m_earlier = earlier;
    setenv(m_name.c_str(), value.c_str(), 1);
  }
  ~Environment() {
    m_earlier ? setenv(m_name.c_str(), m_earlier->c_str(), 1) : unsetenv(m_name.c_str());
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  std::string m_name;
  std::optional<std::string> m_earlier;
};

}  // namespace test
