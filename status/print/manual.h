// The tables of codes and messages as the manual's pages, and the manual's text on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace status {

// The whole of docs/messages.md.
std::string ManualOfMessages();

// The manual's Markdown as plain text: "[a full card](operations.md#a-full-card)" becomes
// "a full card (operations.md#a-full-card)", and nothing is bold.
std::string PlainText(std::string_view markdown);

}  // namespace status
