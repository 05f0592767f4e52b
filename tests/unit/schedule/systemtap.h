// What the scheduler asks of the system: the card's free space, and the end of its threads.
#pragma once

#include <pthread.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace test {

struct CardSpace {
  std::uint32_t blockBytes = 0;
  std::uint64_t freeBlocks = 0;  // all of them set aside for root
};
// The system reports this free space of the card from now on, or fails to report any.
void SetCardSpace(const std::optional<CardSpace>& space);

// The threads that this thread has joined since the last ForgetJoins, in order.
const std::vector<pthread_t>& Joined();
void ForgetJoins();

}  // namespace test
