#include "collect/ledgerpage.h"

#include <sqlite3.h>

#include <algorithm>

#include "historydata/historydata.h"
#include "historydata/ledgerfile.h"
#include "util/text.h"

namespace status {
namespace {

constexpr std::size_t kNameBytes = 127;

// take_row is false for all rows but odd ones and the last one of a page. Only for these
// end_row is called, and it is true only for the last one. Rows come by row number because that is
// how the table is searched; "order by" would let a table with a column of that name be sorted
// whole. A pending row is what the service's own query finds: its result equals 0.
constexpr char kSelectPage[] =
    "select rowid from %s where rowid>?1 and take_row(result,filename) and "
    "end_row(result=0) limit 1";
constexpr int kFunctionFlags = SQLITE_UTF8 | SQLITE_DIRECTONLY;

LedgerPage& PageOf(sqlite3_context* context) {
  return **static_cast<LedgerPage**>(sqlite3_user_data(context));
}

std::string_view NameIn(sqlite3_value* value) {
  const unsigned char* text = sqlite3_value_text(value);
  if (text == nullptr) return {};
  const auto bytes = static_cast<std::size_t>(sqlite3_value_bytes(value));
  return {reinterpret_cast<const char*>(text), std::min(bytes, kNameBytes)};
}

// By the letter before the stamp. The column for it would cost a tenth of the reading.
int TypeOf(std::string_view name) {
  constexpr std::size_t kBaseNameBytes = sizeof("S20261122040000.tar.gz") - 1;
  if (name.size() < kBaseNameBytes) return 0;
  const char letter = name[name.size() - kBaseNameBytes];
  if (letter == 'S') return kRealDataFile;
  return letter == 'T' ? kAlarmDataFile : 0;
}

void TakeRow(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
  LedgerPage& page = PageOf(context);
  const bool isAccepted = sqlite3_value_int64(values[0]) != 0;
  const bool isOdd = !isAccepted && sqlite3_value_type(values[0]) != SQLITE_INTEGER;
  if (!page.IsFull()) {
    LedgerRow& row = page.rows[page.size++];
    const std::string_view name = NameIn(values[1]);
    row.accepted = isAccepted;
    row.name.resize(name.size());  // names are mostly of one length: cheaper than to assign
    std::copy(name.begin(), name.end(), row.name.begin());
    row.type = TypeOf(name);
  }
  if (isOdd || page.IsFull()) sqlite3_result_int(context, 1);
}

// Whether a text, a fraction or NULL equals 0 depends on the column; SQLite knows it.
void EndRow(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
  LedgerPage& page = PageOf(context);
  if (page.size == 0) return;
  page.rows[page.size - 1].accepted = sqlite3_value_int(values[0]) == 0;
  sqlite3_result_int(context, page.IsFull() ? 1 : 0);
}

}  // namespace

bool PageStatement::Prepare() {
  if (m_statement) return true;
  sqlite3* const database = m_database->Get();
  sqlite3_create_function(database, "take_row", 2, kFunctionFlags, &m_page, TakeRow, nullptr,
                          nullptr);
  sqlite3_create_function(database, "end_row", 1, kFunctionFlags, &m_page, EndRow, nullptr,
                          nullptr);
  m_statement = m_database->Prepare(util::Format(kSelectPage, kPendingTable));
  return static_cast<bool>(m_statement);
}

PageStatement::Result PageStatement::Read(std::int64_t after, LedgerPage* page) {
  page->size = 0;
  m_page = page;
  if (!Prepare()) return {.why = m_database->WhyFailed(), .isRead = false};
  sqlite3_stmt* const statement = sqlite3_next_stmt(m_database->Get(), nullptr);  // the only one
  sqlite3_bind_int64(statement, 1, after);
  if (m_statement.NextRow()) page->last = m_statement.Integer64(0);
  const util::Failure why = m_statement.WhyFailed();
  sqlite3_reset(statement);
  return {.why = why, .isRead = true};
}

}  // namespace status
