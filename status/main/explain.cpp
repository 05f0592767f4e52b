// explain: what a code or a message means and what to do.
#include <algorithm>
#include <cstdio>
#include <string>

#include "judge/codes.h"
#include "judge/messages.h"
#include "main/commands.h"
#include "print/manual.h"
#include "print/terminal.h"

namespace status {
namespace {

constexpr int kIndent = 2;

// A paragraph below a title.
void PrintBelow(const Terminal& terminal, const std::string& text) {
  const std::string blanks(kIndent, ' ');
  std::printf("%s\n", Wrapped(blanks + text, terminal.width, kIndent).c_str());
}

void PrintCode(const Code& code, const Terminal& terminal) {
  const std::string title = std::string(code.code) + " (" + LevelName(code.level) + ")";
  std::printf("%s\n", terminal.Colour("bold", title).c_str());
  PrintBelow(terminal, code.meaning);
  PrintBelow(terminal, std::string("To do: ") + code.remedy);
  PrintBelow(terminal, std::string("Manual: ") + code.anchor);
}

void PrintMessage(const Message& message, const Terminal& terminal) {
  std::printf("%s\n", terminal.Colour("bold", message.text).c_str());
  PrintBelow(terminal, std::string(message.log) + ", " + message.section);
  PrintBelow(terminal, PlainText(message.meaning));
}

int PrintAllCodes(const Terminal& terminal) {
  std::size_t widest = 0;
  for (const Code& code : AllCodes()) widest = std::max(widest, std::string(code.code).size());
  const int indent = static_cast<int>(widest) + 2;
  for (const Code& code : AllCodes()) {
    const std::string row = Padded(code.code, indent) + code.meaning;
    std::printf("%s\n", Wrapped(row, terminal.width, indent).c_str());
  }
  return 0;
}

std::string UpperCase(std::string text) {
  for (char& character : text) {
    if (character >= 'a' && character <= 'z')
      character = static_cast<char>(character - ('a' - 'A'));
  }
  return text;
}

// The code in a text such as "CRITICAL: the card is full (BRN-CARD-FULL)".
const Code* CodeIn(const std::string& text) {
  const std::string upper = UpperCase(text);
  const std::size_t begin = upper.find("BRN-");
  if (begin == std::string::npos) return nullptr;
  const std::size_t end = upper.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ-", begin);
  return FindCode(upper.substr(begin, end - begin));
}

}  // namespace

int Explain(const Options& options) {
  const Terminal terminal = Terminal::OfStandardOutput();
  if (options.markdown) {
    std::fputs(ManualOfMessages().c_str(), stdout);
    return 0;
  }
  if (options.argument.empty()) return PrintAllCodes(terminal);
  if (const Code* code = CodeIn(options.argument)) {
    PrintCode(*code, terminal);
    return 0;
  }
  const auto messages = FindMessages(options.argument);
  for (const Message* message : messages) {
    if (message != messages.front()) std::printf("\n");
    PrintMessage(*message, terminal);
  }
  if (!messages.empty()) return 0;
  std::fprintf(stderr, "brennik-status: no code and no message of the service is \"%s\"\n",
               Visible(options.argument).c_str());
  return 1;
}

}  // namespace status
