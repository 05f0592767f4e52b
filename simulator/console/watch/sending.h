// What the service's log tells of its uploads, kind by kind.
#pragma once

#include <array>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "collect/logs.h"
#include "console/watch/filekey.h"

namespace console {

// Uploads of one kind that fail one after the other.
struct FailingUploads {
  std::time_t since = 0;  // begin of the first one
  std::time_t last = 0;   // end of the last one
  long count = 0;
  FileKey file;        // of the last one
  std::string reason;  // what the log says of the last one, on one line; empty: nothing
};

// An upload under way.
struct Transfer {
  FileKey file;
  std::time_t since = 0;
};

struct SendingSight {
  std::array<std::optional<FailingUploads>, kKinds> failing;  // ended by a success of the same kind
  std::array<std::optional<Transfer>, kKinds> underWay;

  // The transfer that was begun first; null: none is under way.
  const Transfer* Oldest() const;
};

// Takes the records of both logs in their order. One thread.
class Sending {
 public:
  void Take(const status::LogRecord& record);
  const SendingSight& Sight() const { return m_sight; }

 private:
  void End(const FileKey& file, bool accepted, std::time_t when);

  SendingSight m_sight;
  std::string m_answer;  // to the upload under way
};

// A record's words on one line. Of an answer in JSON, status and message in plain words.
std::string AnswerText(std::string_view text);

}  // namespace console
