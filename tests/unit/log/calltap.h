// Looks over the stores' shoulders: what a test wants done when they call `mkdir`, `opendir` or
// `write`, before the call goes on to the system.
#pragma once

#include <functional>

namespace test {

enum class Tapped { kMkdir, kOpendir, kWrite };

// Does `hook` at the next such call, once, on the thread that makes it.
void AtNext(Tapped call, std::function<void()> hook);

}  // namespace test
