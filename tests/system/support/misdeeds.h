// What a hostile cloud does instead of answering soundly. In all texts "@" stands for the sound
// body of the exchange, "#" for its length, "~" for its length in hexadecimal digits.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "system/support/hostileserver.h"

namespace test {

// These bytes.
Misdeed Says(const std::string& bytes);
// A sound head, and this body; the sound body with other words; with an object where the member has
// its value.
Misdeed Answers(const std::string& body);
Misdeed AnswersReplacing(const std::string& what, const std::string& by);
Misdeed AnswersWithMistyped(const std::string& member);
// The pieces one by one, far enough apart to arrive alone.
Misdeed SaysApart(const std::vector<std::string>& pieces);
// The head, then the same again and again, at most so many bytes.
Misdeed Floods(const std::string& head, const std::string& part, std::size_t bytes);
// These bytes, then the end without a farewell.
Misdeed Resets(const std::string& bytes);
// A byte every second, then nothing until the client gives up; all at once, then nothing.
Misdeed Stalls(const std::string& bytes);
Misdeed SaysAndStalls(const std::string& bytes);

}  // namespace test
