// Owns the index on disk of everything that the cloud was asked: an SQLite database that other
// programs read while the cloud runs.
//
//   exchange(id integer primary key,        rises with every exchange
//     time integer,                         Unix seconds, when the request was complete
//     endpoint text, address text,          "realdata", empty for a stray request; "127.0.0.1"
//     name text, stamp text,                uploads: the file's name, and its 14 digits
//     bytes integer,                        of the archive, or of another request's body
//     attempt integer,                      uploads: 1 the first time that the name arrives
//     accepted integer,                     0 or 1
//     verdict text, fault text,             see Exchange
//     devices integer, points integer,      in the document
//     order_id integer,                     of recall data, or the first in a recall check's answer
//     head text,                            request line and headers, a line each
//     parts text,                           JSON: [{"name","filename","type","bytes"}]
//     member text, archive blob,            uploads: what the form's file holds
//     body text,                            the body of other requests
//     checks text,                          JSON: [{"name","passed","text"}], passed null: not made
//     answer_status integer, answer text)   what was sent, or would have been
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "cloud/journal.h"
#include "util/mutex.h"
#include "util/sqlite.h"

namespace cloud {

// Appends exchanges to the index, one transaction each, without waiting for the disk. A reader
// never keeps it waiting. While the index cannot be written, exchanges are missing in it and the
// cloud goes on; a line on standard error tells of the trouble and of its end. Every thread may
// call it. It holds the connection to the database.
class Index {
 public:
  // An empty path keeps no index. Nothing is written before the first exchange.
  explicit Index(std::string path) : m_path(std::move(path)) {}

  void Append(const Exchange& exchange);

 private:
  bool Open();
  bool Insert(const Exchange& exchange);
  void Tell(const std::string& trouble);

  const std::string m_path;
  util::Mutex m_mutex;
  std::unique_ptr<util::Database> m_database;  // guarded by m_mutex; null while it is not open
  std::string m_told;                          // guarded by m_mutex; the latest trouble
};

}  // namespace cloud
