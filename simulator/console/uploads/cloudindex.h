// Reads the index that the cloud writes (cloud/index.h), while it writes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "util/sqlite.h"

namespace console {

// One upload in the index, without its bytes.
struct IndexedUpload {
  std::int64_t id = 0;         // rises with every exchange
  std::string kind{};          // "realdata", "alarmdata", "calldata"
  std::string name{};          // "S20261122040000.tar.gz", as sent; may hold anything
  std::string stamp{};         // its 14 digits; empty: it has none
  bool accepted = false;       // the cloud answered that it has the file
  std::time_t time = 0;        // gateway time
  std::int64_t bytes = 0;      // of the archive
  std::int64_t attempt = 0;    // 1 when the name arrived first; 0: it came without a name
  std::int64_t attempts = 0;   // how often the name has arrived so far
  std::string verdict{};       // for people: "accepted", "faulty: …", "refused"
  std::int64_t devices = 0;    // in the document
  std::int64_t points = 0;     // in the document
  std::optional<int> order{};  // recall data: the order that they answer
};

// Everything that the index has of one exchange, an upload or another one.
struct IndexedExchange {
  IndexedUpload upload{};
  std::string address{};  // to which it came
  std::string head{};     // request line and headers, a line each
  std::string parts{};    // JSON, see cloud/index.h
  std::string member{};   // of the archive
  std::string archive{};  // its bytes
  std::string body{};     // of a request that is no upload
  std::string checks{};   // JSON, see cloud/index.h
  int answerStatus = 0;   // HTTP
  std::string answer{};
};

// What a list of uploads is to hold.
struct UploadFilter {
  std::optional<std::int64_t> before{};  // only smaller ids
  std::string kind{};                    // empty: all
  std::optional<bool> accepted{};
  std::string name{};  // a part of the name; empty: all
};

// A page of uploads, newest first.
struct UploadPage {
  std::vector<IndexedUpload> uploads{};
  bool hasMore = false;    // older ones follow
  std::int64_t total = 0;  // with this filter, on all pages
};

// An answer to a recall check that orders history.
struct OrderingAnswer {
  std::int64_t id = 0;
  std::time_t time = 0;
  std::string answer{};  // JSON
};

// One exchange as the tally counts it.
struct ExchangeVerdict {
  std::int64_t id = 0;
  std::string endpoint{};  // "authorize" … "calldata"; empty: a stray request
  std::string address{};
  std::string name{};
  bool accepted = false;
  std::string verdict{};
};

// Opens the index for each question, so nothing stays open. A missing file is an index without
// exchanges. Every thread may call it. Functions that return nothing could not read the index: it
// is damaged or another program holds it.
class CloudIndex {
 public:
  explicit CloudIndex(std::string path) : m_path(std::move(path)) {}

  // The uploads with a greater id, of one kind or of all, the oldest first, at most `limit` of
  // them. None when the index cannot be read.
  std::vector<IndexedUpload> ArrivalsAfter(std::int64_t id, std::size_t limit = 1000,
                                           const std::string& kind = {}) const;
  // The text in the archive of an upload; empty when there is none, or when it is damaged or large.
  std::string DocumentOf(std::int64_t id) const;

  std::optional<UploadPage> Page(const UploadFilter& filter, std::size_t limit) const;
  // The exchange, or one with id 0 when there is none.
  std::optional<IndexedExchange> Exchange(std::int64_t id) const;
  std::optional<std::vector<OrderingAnswer>> OrdersAfter(std::int64_t id, std::size_t limit) const;
  std::optional<std::vector<ExchangeVerdict>> VerdictsAfter(std::int64_t id,
                                                            std::size_t limit) const;

 private:
  // False when the index cannot be read.
  bool Read(const std::function<bool(sqlite3*)>& read) const;

  const std::string m_path;
};

// The text of an archive, unpacked with bounded work: at most 8 MiB, one archive at a time in the
// whole process. `trouble` gets a sentence when there is no text, and stays otherwise.
std::string Unpack(const std::string& archive, std::string* trouble);

}  // namespace console
