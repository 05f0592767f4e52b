// Keeps what the answer parsers throw away from libcurl and the workers.
#pragma once

#include <functional>
#include <string>

// Runs a parser, whose result is 0 or -1, over an answer. True for 0. A parser throws for a member
// of the wrong type and for some missing ones: then a WARN line shows the answer, and the result is
// false.
bool ParseGuarded(const std::string& answer, const std::function<int()>& parse);
