#include "print/manual.h"

#include <cstring>

#include "judge/codes.h"
#include "judge/messages.h"

namespace status {
namespace {

constexpr char kFront[] =
    "# Messages and codes\n"
    "\n"
    "`brennik-status explain TEXT` finds a row of these tables; this page is made by "
    "`brennik-status explain\n"
    "--markdown`.\n"
    "\n"
    "## Codes\n"
    "\n"
    "A finding of `brennik-status` has one of these codes. The verdict names the level that a "
    "finding has at the\n"
    "moment.\n"
    "\n"
    "| code | level | what it means | what to do |\n"
    "|---|---|---|---|\n";
constexpr char kMessagesFront[] =
    "\n"
    "## Messages\n"
    "\n"
    "The messages are written as in the source: `%s` is a text, `%d` a number. `text` is the text "
    "log, `database` the\n"
    "log database.\n";
constexpr char kTableFront[] =
    "| message | log | what it means, and what to do |\n"
    "|---|---|---|\n";
constexpr char kNeverWritten[] = "Messages that a running service never writes";
constexpr char kAboutNeverWritten[] =
    "They belong to guards inside the program and to functions that nothing calls. If you see one, "
    "keep the logs and\n"
    "tell the maintainers.\n"
    "\n";

// A plain text in a cell of a table.
std::string Cell(std::string_view text) {
  std::string cell;
  for (const char character : text) {
    if (std::strchr("|*<", character) != nullptr) cell += '\\';
    cell += character;
  }
  return cell;
}

std::string CodeRow(const Code& code) {
  return std::string("| [`") + code.code + "`](" + code.anchor + ") | " + LevelName(code.level) +
         " | " + Cell(code.meaning) + " | " + Cell(code.remedy) + " |\n";
}

}  // namespace

std::string ManualOfMessages() {
  std::string page = kFront;
  for (const Code& code : AllCodes()) page += CodeRow(code);
  page += kMessagesFront;
  const char* section = "";
  for (const Message& message : AllMessages()) {
    if (std::strcmp(message.section, section) != 0) {
      section = message.section;
      page += std::string("\n### ") + section + "\n\n";
      if (std::strcmp(section, kNeverWritten) == 0) page += kAboutNeverWritten;
      page += kTableFront;
    }
    page +=
        std::string("| `") + message.text + "` | " + message.log + " | " + message.meaning + " |\n";
  }
  return page;
}

std::string PlainText(std::string_view markdown) {
  std::string text;
  while (!markdown.empty()) {
    const std::size_t close = markdown.find("](");
    const std::size_t end = markdown.find(')', close);
    if (markdown.starts_with("**")) {
      markdown.remove_prefix(2);
    } else if (markdown[0] == '[' && close != std::string_view::npos &&
               end != std::string_view::npos) {
      text.append(markdown.substr(1, close - 1)).append(" (");
      text.append(markdown.substr(close + 2, end - close - 1));
      markdown.remove_prefix(end + 1);
    } else {
      text += markdown[0];
      markdown.remove_prefix(1);
    }
  }
  return text;
}

}  // namespace status
