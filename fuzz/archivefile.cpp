// A data file's archive, as brennik-status reads it. The first byte of the input tells where the
// rest begins: 0 the compressed file, 1 the tar archive, anything else the document.
#include "collect/archive.h"
#include "support/world.h"

namespace {

void CheckArchive(const status::Archive& archive) {
  const bool hasDocument = archive.state == status::ArchiveState::kGood ||
                           archive.state == status::ArchiveState::kSeveral;
  fuzz::Expect(hasDocument || archive.document.empty(), "a bad archive gives no document");
  fuzz::Expect(archive.document.size() <= status::kDocumentLimitBytes, "the document is bounded");
  fuzz::Expect(archive.text.empty() == (archive.state == status::ArchiveState::kGood),
               "what is wrong is said");
}

void Format(const std::string& document) {
  std::size_t lines = 0;
  const bool isDocument = status::FormatDocument(document, [&lines](std::string_view line) {
    fuzz::Expect(line.find('\n') == std::string_view::npos, "a line is one line");
    ++lines;
  });
  fuzz::Expect(isDocument == (lines > 0), "a document has lines, another text none");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::InputFile file("/tmp/archive.tar.gz");
  if (size == 0) return 0;
  const std::string rest(fuzz::Content(data, size).substr(1));
  if (data[0] > 1) {
    Format(rest);
    return 0;
  }
  if (data[0] == 0) file.Write(rest);
  const status::Archive archive =
      data[0] == 0 ? status::ReadArchive(file.Path()) : status::ReadTar(rest);
  CheckArchive(archive);
  Format(archive.document);
  return 0;
}
