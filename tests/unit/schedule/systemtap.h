// What the scheduler asks of the system: the card's free space, and the end of its threads.
#pragma once

#include <pthread.h>

#include <cstdint>
#include <string>
#include <vector>

namespace test {

// What the system tells of the card.
struct CardSpace {
  std::uint32_t blockBytes = 0;
  std::uint64_t freeBlocks = 0;
  std::uint64_t freeBlocksForOrdinaryUsers = 0;
};
// Lets the system tell this from now on; or fail to tell anything.
void SetCardSpace(const CardSpace& space);
void HideCardSpace();
// The path that the latest look at free space was for.
std::string ExaminedPath();

// The threads that were joined since the last ForgetJoins, in order.
std::vector<pthread_t> Joined();
void ForgetJoins();

}  // namespace test
