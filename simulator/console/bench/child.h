// One child process with its output.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "util/file.h"

namespace console {

// How a process ended.
struct End {
  int status = 0;  // exit status; 0 when a signal ended it
  int signal = 0;  // 0 when none did
  bool IsGood() const { return status == 0 && signal == 0; }
  std::string Text() const;  // "ended with status 1", "killed by signal 9"
};

// Whether SIGSTOP or a like signal holds a process of this machine.
bool IsStopped(pid_t pid);

// A program in a process group of its own. Standard output and error come in here together; its
// input is a pipe that ends with the object. The kernel kills the program when the thread that made
// the object ends: so that must be a thread that lives as long as the child may.
class Child {
 public:
  // Starts `command`, which is looked up in the PATH, with these variables (NAME=VALUE) added to
  // our environment. Throws std::runtime_error when no process can be made; a program that cannot
  // be started says so in its output and ends with status 127.
  Child(const std::vector<std::string>& command, const std::vector<std::string>& environment);
  ~Child();  // kills the group and waits
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t Pid() const { return m_pid; }
  int Output() const { return m_output->Get(); }  // to poll
  // Hands over the lines that have come. The last one need not be complete when the child has
  // ended.
  void TakeLines(const std::function<void(const std::string&)>& take);
  // The next line; nothing when none comes in time. Not together with TakeLines.
  std::optional<std::string> ReadLine(std::chrono::milliseconds timeout);

  // SIGTERM to the program; SIGKILL to its whole group, with the programs that it has started.
  void Ask() const;
  void Kill() const;
  void CloseInput() { m_input.reset(); }
  // How it ended; nothing as long as it runs. The rest of its group is killed then.
  std::optional<End> Ended();
  // Waits for the end. Nothing when it does not come in time.
  std::optional<End> Await(std::chrono::milliseconds timeout);

 private:
  void Fill();  // reads what is there

  pid_t m_pid = -1;
  std::optional<util::Descriptor> m_input{};
  std::optional<util::Descriptor> m_output{};
  std::string m_text{};  // read, not yet handed over
  std::optional<End> m_end{};
};

}  // namespace console
