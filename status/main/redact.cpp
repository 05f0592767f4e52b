#include "main/redact.h"

#include <algorithm>
#include <cctype>

#include "util/xmlparser.h"

namespace status {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kSecrets[] = {"cert", "user", "pass", "pwd", "secret", "token"};

bool IsSecret(std::string_view attribute) {
  std::string name(attribute);
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return std::any_of(std::begin(kSecrets), std::end(kSecrets), [&name](std::string_view part) {
    return name.find(part) != std::string::npos;
  });
}

// Copies a well-formed text without its secrets. Anything unexpected makes it fail.
class Redactor {
 public:
  explicit Redactor(std::string_view xml) : m_rest(xml) {}

  bool Run() {
    while (!m_rest.empty() && m_isGood) {
      if (m_rest.front() != '<') {
        TakeText();
      } else if (m_rest.starts_with("<!--")) {
        Replace("-->", "<!-- ", " -->");
      } else if (m_rest.starts_with("<![CDATA[")) {
        Replace("]]>", "", "");
      } else if (m_rest.starts_with("<?xml ")) {
        Copy(UpTo("?>"));
      } else if (m_rest.starts_with("<?")) {
        Replace("?>", "<!-- ", " -->");
      } else if (m_rest.starts_with("<!")) {
        m_isGood = false;
      } else {
        TakeTag();
      }
    }
    return m_isGood;
  }
  std::string Take() { return std::move(m_result); }

 private:
  // The number of bytes up to the end of the next `mark`.
  std::size_t UpTo(std::string_view mark) {
    const std::size_t at = m_rest.find(mark);
    if (at == std::string_view::npos) m_isGood = false;
    return m_isGood ? at + mark.size() : m_rest.size();
  }
  void Skip(std::size_t bytes) { m_rest.remove_prefix(bytes); }
  void Copy(std::size_t bytes) {
    m_result += m_rest.substr(0, bytes);
    Skip(bytes);
  }
  void Replace(std::string_view end, std::string_view before, std::string_view after) {
    Skip(UpTo(end));
    m_result.append(before).append(kLeftOut).append(after);
  }
  std::size_t BytesUntil(std::string_view marks) const {
    return std::min(m_rest.find_first_of(marks), m_rest.size());
  }
  void CopyBlanks() { Copy(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size())); }

  void TakeText() {
    const std::size_t bytes = BytesUntil("<");
    // The mark of UTF-8 may stand at the beginning.
    const bool isMark = m_result.empty() && m_rest.substr(0, bytes) == "\xef\xbb\xbf";
    const bool isBlank = m_rest.find_first_not_of(kBlanks) >= bytes;
    if (isBlank || isMark) return Copy(bytes);
    Skip(bytes);
    m_result += kLeftOut;
  }

  void TakeTag() {
    Copy(std::min(m_rest.find_first_of(" \t\r\n>"), m_rest.size()));
    for (CopyBlanks(); m_isGood && !m_rest.empty(); CopyBlanks()) {
      if (m_rest.front() == '>') return Copy(1);
      if (m_rest.starts_with("/>")) return Copy(2);
      TakeAttribute();
    }
    m_isGood = false;  // the tag has no end
  }

  void TakeAttribute() {
    const std::size_t nameBytes = BytesUntil("= \t\r\n>\"'");
    const std::string_view name = m_rest.substr(0, nameBytes);
    Copy(nameBytes);
    CopyBlanks();
    if (nameBytes == 0 || !m_rest.starts_with('=')) return Refuse();
    Copy(1);
    CopyBlanks();
    if (m_rest.empty() || (m_rest.front() != '"' && m_rest.front() != '\'')) return Refuse();
    const std::string_view quote = m_rest.substr(0, 1);
    Copy(1);
    const std::size_t valueBytes = UpTo(quote);
    if (!m_isGood) return;
    if (!IsSecret(name)) return Copy(valueBytes);
    Skip(valueBytes);
    m_result.append(kLeftOut).append(quote);
  }
  void Refuse() { m_isGood = false; }

  std::string_view m_rest;
  std::string m_result;
  bool m_isGood = true;
};

}  // namespace

std::optional<std::string> WithoutSecrets(std::string_view xml, std::string& reason) {
  if (!util::ParseXml(xml, reason)) return std::nullopt;
  Redactor redactor(xml);
  if (redactor.Run()) return redactor.Take();
  reason = "has a document type or another unusual part";
  return std::nullopt;
}

}  // namespace status
