// Which recalls were answered by a later file.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "collect/place.h"
#include "console/watch/account.h"

namespace console {

// When the cloud refuses a recall, the service answers the order again with a new file, and the old
// one is never sent again. This finds such files by the order's number in their documents. One
// thread.
class AnsweredOrders {
 public:
  AnsweredOrders(status::Place place, DocumentOf document)
      : m_place(std::move(place)), m_document(std::move(document)) {}

  // Takes every arrival; reads the documents of recalls.
  void Take(const Arrival& arrival);
  // Tells the account which recalls are answered. It reads at most one archive.
  void Tell(Account& account);

 private:
  void Note(const FileKey& key, const std::string& document);

  status::Place m_place;
  DocumentOf m_document;
  std::map<FileKey, std::int64_t> m_orders;          // by file
  std::map<std::int64_t, std::uint64_t> m_accepted;  // newest accepted stamp, by order
  std::set<FileKey> m_asked;                         // archives that were read
};

}  // namespace console
