// Every message of the service: where it appears, what it means and what to do. This table is the
// one home: `explain` looks it up and docs/messages.md is made from it.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace status {

struct Message {
  const char* section;  // of the manual: "Start and configuration"
  const char* text;     // as in the source: "parsed %s failed"
  const char* log;      // "text INFO", "database ERROR", "stdout", "stderr"
  const char* meaning;  // what it means, and what to do; Markdown of the manual
};

// In the order of the manual, section by section.
std::span<const Message> AllMessages();

// The messages that a text could be: a whole log line, a message with its values, or a part of one
// with at least four characters of its own. Case and the kind of blanks do not count.
std::vector<const Message*> FindMessages(std::string_view text);

}  // namespace status
