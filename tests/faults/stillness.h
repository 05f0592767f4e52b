// What brennik-status changes on a gateway that rests: nothing.
#pragma once

#include <ctime>
#include <map>
#include <string>

namespace test {

// All files and folders of the gateway, by path, with everything that is known of each: owner,
// mode, times of change, content. Not when it was last read.
std::map<std::string, std::string> Snapshot();

struct Stillness {
  int runs = 0;       // of the tool
  int unchanged = 0;  // paths
};

// Runs every command of the tool several times, once under strace, with the clock at `now`. Fails
// the test for every path that has changed and for every system call that changes something. The
// service must rest meanwhile, so that every change is the tool's.
Stillness ExpectNothingChanges(std::time_t now);

}  // namespace test
