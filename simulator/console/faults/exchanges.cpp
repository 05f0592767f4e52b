#include "console/faults/exchanges.h"

#include "util/sqlite.h"
#include "util/text.h"

namespace console {

namespace {

constexpr char kNewExchanges[] =
    "select id, endpoint, address, name, accepted, verdict from exchange where id > %ld order by "
    "id";

void Count(const util::Statement& row, ExchangeCounts* counts) {
  const bool accepted = row.Integer(4) != 0;
  const std::string_view verdict = row.Text(5);
  // A normal answer may redirect or order something: "accepted, ordered 7".
  const bool isNormal = verdict == "accepted" || verdict.starts_with("accepted, redirected") ||
                        verdict.starts_with("accepted, ordered") || verdict.starts_with("faulty: ");
  ++(accepted ? counts->accepted : counts->refused);
  if (!isNormal) ++counts->disturbed;
  if (accepted) counts->accepting = row.Text(3);
  counts->address = row.Text(2);
}

}  // namespace

void Exchanges::Look() {
  util::Database database(m_index.c_str(), util::Database::Missing::kFails);
  if (!database) return;
  util::Statement rows = database.Prepare(util::Format(kNewExchanges, m_latest));
  while (rows && rows.NextRow()) {
    m_latest = static_cast<long>(rows.Integer64(0));
    Count(rows, &m_counts[std::string(rows.Text(1))]);
  }
}

}  // namespace console
