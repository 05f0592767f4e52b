// The ledger as the status tool reads it: a database of any bytes, with or without a journal.
//
// The input is one byte, whose lowest bit tells whether the service runs; two bytes, the database's
// size in blocks of 512 bytes, low byte first; the database; the journal. An empty journal is none.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "collect/ledger.h"
#include "support/world.h"
#include "util/directory.h"
#include "util/file.h"
#include "util/paths.h"

namespace {

constexpr std::size_t kHeadBytes = 3;
constexpr std::size_t kBlockBytes = 512;
constexpr std::size_t kNameBytes = 127;

struct Input {
  bool serviceRuns;
  std::string_view database;
  std::string_view journal;
};

Input Read(std::string_view bytes) {
  const auto byte = [bytes](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
  const std::size_t blocks = byte(1) + 256U * byte(2);
  const std::string_view files = bytes.substr(kHeadBytes);
  const std::size_t size = std::min(blocks * kBlockBytes, files.size());
  return {.serviceRuns = (byte(0) & 1) != 0,
          .database = files.substr(0, size),
          .journal = files.substr(size)};
}

std::size_t Entries(const char* path) {
  const util::Directory folder(opendir(path));
  std::size_t entries = 0;
  while (folder && readdir(folder.get()) != nullptr) ++entries;
  return entries;
}

std::string Content(const char* path, std::size_t most) {
  std::string content(most, '\0');
  const util::File file(std::fopen(path, "re"));
  content.resize(file ? std::fread(content.data(), 1, most, file.get()) : 0);
  return content;
}

class Ledger {
 public:
  Ledger() : m_database(MadeFolder()) {}
  void Write(const Input& input) const {
    m_database.Write(input.database);
    unlink(paths::kLedgerJournal);
    if (!input.journal.empty()) fuzz::InputFile(paths::kLedgerJournal).Write(input.journal);
  }

 private:
  static const char* MadeFolder() {
    const std::size_t all = sizeof(paths::kLedgerDirectory);
    util::MakeDirectories(paths::kLedgerDirectory, all, all);
    return paths::kLedger;
  }

  fuzz::InputFile m_database;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kHeadBytes) return 0;
  static const Ledger file;
  const Input input = Read(fuzz::Content(data, size));
  file.Write(input);
  const std::size_t beside = Entries(paths::kLedgerDirectory);
  const std::size_t temporary = Entries("/tmp");

  std::size_t rows = 0;
  const status::Ledger ledger =
      status::ReadLedger(status::Place(), input.serviceRuns, [&rows](const auto& row) {
        ++rows;
        fuzz::Expect(row.name.size() <= kNameBytes, "names are cut");
      });

  fuzz::Expect(ledger.all.pending + ledger.all.accepted == rows, "every row counts once");
  fuzz::Expect(ledger.state != status::LedgerState::kBusy, "nobody holds a lock");
  fuzz::Expect(Entries(paths::kLedgerDirectory) == beside, "no file comes or goes");
  fuzz::Expect(Entries("/tmp") == temporary, "the copy is removed");
  fuzz::Expect(Content(paths::kLedger, size) == input.database, "the ledger stays as it is");
  fuzz::Expect(Content(paths::kLedgerJournal, size) == input.journal, "so does its journal");
  return 0;
}
