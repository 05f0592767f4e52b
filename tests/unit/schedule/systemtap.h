// What the scheduler asks of the system: the card's free space, and the end of its threads.
#pragma once

#include <pthread.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace test {

// The card's free space as the system reports it.
struct CardSpace {
  std::uint32_t blockBytes = 0;
  std::uint64_t freeBlocks = 0;
  std::uint64_t freeBlocksForOrdinaryUsers = 0;
};
// The system reports this space from now on, or fails to report any. `path` must be the one asked
// for.
void SetCardSpace(const std::string& path, const std::optional<CardSpace>& space);

// The threads that were joined since the last ForgetJoins, in order.
std::vector<pthread_t> Joined();
void ForgetJoins();

}  // namespace test
