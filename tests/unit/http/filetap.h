// Files that change while the client is at them: a hook runs at the next such moment, once.
#pragma once

#include <functional>

namespace test {

// After the client has seen that a file is there, before it looks at its size.
void AfterAccess(std::function<void()> hook);
// After the client has looked at a file's size, before it opens it.
void BeforeOpen(std::function<void()> hook);
// Makes the next read fall short by one byte.
void ShortenNextRead();

}  // namespace test
