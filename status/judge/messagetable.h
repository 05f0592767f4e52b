// The parts of the table of messages. Only messages.cpp joins them. A row's `text` is spelled as in
// the source of the service; links lead to docs/operations.md.
#pragma once

#include <span>

#include "judge/messages.h"

namespace status {

std::span<const Message> MessagesOfFiles();
std::span<const Message> MessagesOfUploads();

}  // namespace status
