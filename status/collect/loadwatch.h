// What happens while the service's loaders read configuration files: which files they read, and
// which ones they refuse and why.
#pragma once

#include <ctime>
#include <set>
#include <string>
#include <vector>

#include "collect/nopauses.h"
#include "collect/place.h"
#include "util/file.h"

namespace status {

// A file that a loader refused.
struct Refusal {
  std::string file;       // the gateway's own path
  long line = 0;          // 0: not told
  std::string reason;     // "cannot be read: No such file or directory"
  bool noRights = false;  // this user may not read it; the service may
};

// While one lives, every configuration file is read where the place has it, what the loaders print
// goes to no terminal, and they do not pause. It answers util::PlaceOfXmlFile, because the template
// names device files by their own absolute paths. At most one lives, on one thread.
class LoadWatch {
 public:
  explicit LoadWatch(Place place);
  ~LoadWatch();
  LoadWatch(const LoadWatch&) = delete;
  LoadWatch& operator=(const LoadWatch&) = delete;

  // The files that were refused up to now, in the order of reading, each once.
  std::vector<Refusal> Refusals();
  // The gateway's own paths of all files that were asked for.
  const std::set<std::string>& Files() const { return m_files; }
  // Whether files were left out because the reading took too long.
  bool TookTooLong() const { return m_tookTooLong; }

  // Where the loaders find the file that they read next. An empty path when they took too long.
  std::string PlaceOfNext(const std::string& path);

 private:
  // Takes what was printed about the file that was read last.
  void Settle();

  NoPauses m_noPauses;
  Place m_place;
  util::Descriptor m_printed;  // standard error goes here meanwhile
  util::Descriptor m_ignored;  // and standard output here
  util::Descriptor m_output;   // the real ones
  util::Descriptor m_error;
  std::clock_t m_started = std::clock();
  long m_settled = 0;    // bytes of m_printed that are taken
  std::string m_asked;   // the path of the latest file, as the loaders have it
  std::string m_latest;  // the same as an absolute path
  std::vector<Refusal> m_refusals;
  std::set<std::string> m_files;
  bool m_tookTooLong = false;
};

}  // namespace status
