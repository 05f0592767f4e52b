// The page's own files, as the browser gets them.
#pragma once

#include <optional>
#include <string>

namespace console {

struct StaticFile {
  std::string content{};
  std::string type{};  // for the header Content-Type
};

// Reads files of one folder. Any thread may call.
class StaticFiles {
 public:
  // `folder` has index.html; `chartLibrary` is the file that /chart.js gives.
  StaticFiles(std::string folder, std::string chartLibrary);

  // The file of a path like /style.css; "/" is index.html. Nothing when there is none, when it lies
  // outside the folder, or when its kind is not one that a page needs.
  std::optional<StaticFile> Find(const std::string& path) const;

 private:
  const std::string m_folder;
  const std::string m_chartLibrary;
};

}  // namespace console
