// Owns the text in which an order of history is given on a command line.
#pragma once

#include <string_view>

#include "cloud/orders.h"

namespace cloud {

// Reads an order like
//   7:1/3:1123,00AB@2024-03-01 10:00:00..2024-03-01 10:30:00;2/1:0302@…..…*5+1
// Throws std::invalid_argument with a line that says what is wrong with it.
RecallOrder ParseOrder(std::string_view text);

// The grammar, in lines for a help text.
extern const char kOrderHelp[];

}  // namespace cloud
