#include "judge/messages.h"

#include "judge/messageform.h"
#include "judge/messagetable.h"

namespace status {
namespace {

using Matches = std::vector<const Message*>;

// The messages whose form passes the test.
template <typename Test>
Matches MessagesThat(Test test) {
  Matches found;
  for (const Message& message : AllMessages()) {
    if (test(MessageForm(message.text))) found.push_back(&message);
  }
  return found;
}

}  // namespace

std::span<const Message> AllMessages() {
  static const std::vector<Message> kAll = [] {
    const auto first = MessagesOfFiles();
    const auto rest = MessagesOfUploads();
    std::vector<Message> all(first.begin(), first.end());
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
  }();
  return kAll;
}

std::vector<const Message*> FindMessages(std::string_view text) {
  const std::string wanted = MessageOfLine(text);
  if (wanted.empty()) return {};
  Matches found = MessagesThat([&](const MessageForm& form) {
    return form.OwnCharacters() >= MessageForm::kFewestCharacters && form.IsWhole(wanted);
  });
  if (found.empty()) {
    found = MessagesThat([&](const MessageForm& form) { return form.HasPart(wanted); });
  }
  // "%s: %s" could be nearly everything, but the service says it of files only.
  if (found.empty() && wanted[0] == '/') {
    found = MessagesThat([&](const MessageForm& form) { return form.IsWhole(wanted); });
  }
  return found;
}

}  // namespace status
