#include "console/watch/sending.h"

#include "util/json.h"
#include "util/text.h"

namespace console {
namespace {

constexpr std::string_view kAnswer = "UPloadFile recv message:";

// The word after `start`; empty when the text does not begin so.
std::string_view WordAfter(std::string_view text, std::string_view start) {
  if (!text.starts_with(start)) return {};
  text.remove_prefix(start.size());
  return text.substr(0, text.find(' '));
}

std::optional<FileKey> FileAfter(std::string_view text, std::string_view start) {
  const std::string_view path = WordAfter(text, start);
  return path.empty() ? std::nullopt : KeyOf(path);
}

std::string OnOneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    const bool isBlank = c == '\n' || c == '\r' || c == '\t' || c == ' ';
    if (!isBlank) {
      line += c;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  while (line.ends_with(' ')) line.pop_back();
  return line;
}

// Of "send file … failed: Timeout was reached,httpcode =0".
std::string FailureText(std::string_view text) {
  constexpr std::string_view kFailed = " failed: ";
  const std::size_t at = text.find(kFailed);
  if (at == std::string_view::npos) return OnOneLine(text);
  const std::string words = OnOneLine(text.substr(at + kFailed.size()));
  return text.ends_with("httpcode =0") ? "the cloud does not answer (" + words + ")" : words;
}

}  // namespace

std::string AnswerText(std::string_view text) {
  const std::size_t begin = text.find('{');
  rapidjson::Document parsed;
  if (begin != std::string_view::npos) parsed.Parse(text.data() + begin, text.size() - begin);
  const rapidjson::Document& answer = parsed;
  if (begin == std::string_view::npos || answer.HasParseError() || !answer.IsObject()) {
    return OnOneLine(text);
  }
  const auto status = answer.FindMember("status");
  const auto message = answer.FindMember("message");
  std::string words = "the cloud answers";
  if (status != answer.MemberEnd() && status->value.IsInt()) {
    words += util::Format(" status %d", status->value.GetInt());
  }
  if (message != answer.MemberEnd() && message->value.IsString()) {
    words += std::string(", \"") + message->value.GetString() + "\"";
  }
  return OnOneLine(words);
}

const Transfer* SendingSight::Oldest() const {
  const Transfer* oldest = nullptr;
  for (const auto& transfer : underWay) {
    if (transfer && (oldest == nullptr || transfer->since < oldest->since)) oldest = &*transfer;
  }
  return oldest;
}

void Sending::End(const FileKey& file, bool accepted, std::time_t when) {
  const auto kind = static_cast<std::size_t>(file.kind);
  auto& failing = m_sight.failing[kind];
  auto& transfer = m_sight.underWay[kind];
  const std::time_t begun = transfer ? transfer->since : when;
  transfer.reset();
  if (accepted) {
    failing.reset();
  } else {
    if (!failing) failing = FailingUploads{.since = begun, .file = file, .reason = {}};
    failing->last = when;
    ++failing->count;
    failing->file = file;
    failing->reason = m_answer;
  }
  m_answer.clear();
}

void Sending::Take(const status::LogRecord& record) {
  const std::string_view text = record.text;
  if (record.isDatabase) {
    if (text == "Brennik Start running") m_sight.underWay = {};
    return;
  }
  for (const char* start :
       {"start Send realdata ", "start Send alarmdata ", "start Send Recalldata "}) {
    if (const auto file = FileAfter(text, start)) {
      m_sight.underWay[static_cast<std::size_t>(file->kind)] = {*file, record.time};
      m_answer.clear();
      return;
    }
  }
  for (const char* start : {"Send realdata ", "Send Alarmdata ", "Send Recalldata "}) {
    if (const auto file = FileAfter(text, start)) {
      return End(*file, text.find(" successfully") != std::string_view::npos, record.time);
    }
  }
  if (text.starts_with(kAnswer)) {
    m_answer = AnswerText(text.substr(kAnswer.size()));
  } else if (text.starts_with("send file ") || text.starts_with("can not open file")) {
    if (m_answer.empty()) m_answer = FailureText(text);
  }
}

}  // namespace console
