// Environment variables for a while.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace test {

// What it is for: one variable of the test's environment, which the service inherits at its start.
// Threads: the test's. Owns: the variable, which gets its earlier value back with the object's end.
class Environment {
 public:
  Environment(std::string name, const std::string& value) : m_name(std::move(name)) {
    if (const char* earlier = std::getenv(m_name.c_str())) m_earlier = earlier;
    setenv(m_name.c_str(), value.c_str(), 1);
  }
  ~Environment() {
    if (m_earlier) {
      setenv(m_name.c_str(), m_earlier->c_str(), 1);
    } else {
      unsetenv(m_name.c_str());
    }
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  std::string m_name;
  std::optional<std::string> m_earlier;
};

}  // namespace test
