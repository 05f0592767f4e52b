// Steps of the workers that never fail by themselves, but whose failure the workers look out for.
#pragma once

namespace test {

enum class Step { kReadEvents, kPackEvents, kAskForTheAddress };

// Makes the next such step fail without doing anything.
void FailNextStep(Step step);

}  // namespace test
