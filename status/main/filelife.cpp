#include "main/filelife.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "print/terminal.h"

namespace status {
namespace {

constexpr std::size_t kKept = 40;         // records at each end
constexpr int kShownColumns = 400;        // of a record
constexpr std::size_t kReadBytes = 2048;  // of a record

// What a record with this part says about the file that it names. The first that fits counts.
struct Step {
  const char* part;
  const char* what;
};
constexpr Step kSteps[] = {
    {"can't find id", "not made"},       {",but Create", "given up"},
    {"failed,errno", "packing failed"},  {" Success", "packed"},
    {"start Send file ", "sending"},     {"start Send ", "to be sent"},
    {"judge it send OK", "judged sent"}, {"the largest that is sent", "too large"},
    {" successfully", "accepted"},       {" finish", "transferred"},
    {"send file ", "not transferred"},   {" failed", "not accepted"},
    {"an not open file", "unreadable"},
};
// Parts of records that name no file; they follow the start of its transfer.
constexpr Step kAnswers[] = {
    {"UPloadFile recv error format", "wrong answer"},
    {"UPloadFile recv message:", "answered"},
    {"answer with", "wrong answer"},
};

template <std::size_t N>
const char* Find(const Step (&steps)[N], const std::string& text, const char* otherwise) {
  const auto step = std::find_if(std::begin(steps), std::end(steps), [&text](const Step& each) {
    return text.find(each.part) != std::string::npos;
  });
  return step == std::end(steps) ? otherwise : step->what;
}

}  // namespace

void FileLife::Add(Event event) {
  if (m_first.size() < kKept) {
    m_first.push_back(std::move(event));
    return;
  }
  m_last.push_back(std::move(event));
  if (m_last.size() <= kKept) return;
  m_last.pop_front();
  ++m_leftOut;
}

bool FileLife::Take(const LogRecord& record) {
  const bool isNamed = !m_name.empty() && record.text.find(m_name) != std::string::npos;
  const bool isTransfer = record.text.starts_with("start Send file ");
  const char* what = isNamed    ? Find(kSteps, record.text, "named")
                     : m_isSent ? Find(kAnswers, record.text, nullptr)
                                : nullptr;
  if (isTransfer || isNamed) m_isSent = isTransfer && isNamed;
  if (what != nullptr) Add({record.time, what, record.text.substr(0, kReadBytes)});
  return true;
}

void FileLife::AddArchive(std::time_t written) {
  const auto isAfter = [](std::time_t time, const Event& event) { return time < event.time; };
  const Event event{written, "archive", "was written to the card"};
  const auto at = std::upper_bound(m_first.begin(), m_first.end(), written, isAfter);
  if (at != m_first.end() || m_last.empty()) {
    m_first.insert(at, event);
  } else {
    m_last.insert(std::upper_bound(m_last.begin(), m_last.end(), written, isAfter), event);
  }
}

void FileLife::Print() const {
  const auto print = [](const Event& event) {
    const std::string text = Visible(event.text);
    const std::string_view shown = Cut(text, kShownColumns);
    std::printf("%s  %-15s  %.*s%s\n", LocalText(event.time).c_str(), event.what,
                static_cast<int>(shown.size()), shown.data(),
                shown.size() < text.size() ? " …" : "");
  };
  for (const Event& event : m_first) print(event);
  if (m_leftOut > 0)
    std::printf("%20s %zu records are left out: brennik-status log\n", "", m_leftOut);
  for (const Event& event : m_last) print(event);
}

}  // namespace status
