// A temporary folder for the parts of a report, and the programs that fill it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace status {

// While it lives, SIGINT, SIGTERM and SIGHUP only set a flag, so that everything can be tidied up.
// One at a time.
class Interruptible {
 public:
  Interruptible();
  ~Interruptible();
  Interruptible(const Interruptible&) = delete;
  Interruptible& operator=(const Interruptible&) = delete;

  static bool Happened();
};

// A folder of mode 0700 below TMPDIR or /tmp. It is removed, with its content, with the object.
class Staging {
 public:
  Staging();
  ~Staging();
  Staging(const Staging&) = delete;
  Staging& operator=(const Staging&) = delete;

  // False when the folder could not be made.
  explicit operator bool() const { return !m_path.empty(); }
  const std::string& Path() const { return m_path; }
  std::uint64_t FreeBytes() const;

  // Writes a file, with the folders of its name. False when it cannot be written whole.
  bool Write(const std::string& name, std::string_view content) const;
  // Runs `print` in a process of its own, with standard output in the file: what it takes and how
  // it ends is no concern of this process. False when it ends by a signal or cannot start.
  bool Capture(const std::string& name, const std::function<int()>& print) const;

 private:
  std::string Make(const std::string& name) const;

  std::string m_path;
};

// Runs a program with standard output in the open file `output`, and standard error in the null
// device. Its exit status; -1 when it did not run or was ended by a signal.
int Run(const std::vector<std::string>& command, int output);

}  // namespace status
