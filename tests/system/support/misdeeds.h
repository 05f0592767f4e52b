// What a hostile cloud does instead of answering soundly. In the bytes, "@" stands for the sound
// body of the exchange, "#" for its length and "~" for its length in hexadecimal digits.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "system/support/hostileserver.h"

namespace test {

// Sends these bytes.
Misdeed Says(const std::string& bytes);
// Sends a sound head and this body.
Misdeed Answers(const std::string& body);
// Sends the pieces one by one, far enough apart to arrive alone.
Misdeed SaysApart(const std::vector<std::string>& pieces);
// Sends the head, then the part again and again, at most so many bytes.
Misdeed Floods(const std::string& head, const std::string& part, std::size_t bytes);
// Sends these bytes and resets the connection.
Misdeed Resets(const std::string& bytes);
// Sends a byte every second, then nothing until the client gives up.
Misdeed Stalls(const std::string& bytes);
// Sends all bytes at once, then nothing until the client gives up.
Misdeed SaysAndStalls(const std::string& bytes);

}  // namespace test
