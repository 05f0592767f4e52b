#include "console/web/staticfiles.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace console {

namespace {

namespace fs = std::filesystem;

struct Kind {
  const char* ending;
  const char* type;
};

constexpr std::array kKinds = {Kind{".html", "text/html; charset=utf-8"},
                               Kind{".css", "text/css; charset=utf-8"},
                               Kind{".js", "text/javascript; charset=utf-8"},
                               Kind{".mjs", "text/javascript; charset=utf-8"},
                               Kind{".svg", "image/svg+xml"},
                               Kind{".png", "image/png"},
                               Kind{".ico", "image/x-icon"}};

const char* TypeOf(const fs::path& file) {
  const std::string ending = file.extension();
  const auto* const kind =
      std::ranges::find_if(kKinds, [&](const Kind& each) { return ending == each.ending; });
  return kind == kKinds.end() ? nullptr : kind->type;
}

// True when the file lies below the folder, after all links are followed.
bool IsBelow(const fs::path& file, const fs::path& folder) {
  const auto [end, rest] = std::ranges::mismatch(folder, file);
  return end == folder.end();
}

std::optional<StaticFile> Read(const fs::path& file) {
  const char* const type = TypeOf(file);
  std::error_code error;
  if (type == nullptr || !fs::is_regular_file(file, error)) return std::nullopt;
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  return StaticFile{.content = {std::istreambuf_iterator<char>(in), {}}, .type = type};
}

}  // namespace

StaticFiles::StaticFiles(std::string folder, std::string chartLibrary)
    : m_folder(std::move(folder)), m_chartLibrary(std::move(chartLibrary)) {}

std::optional<StaticFile> StaticFiles::Find(const std::string& path) const {
  if (path == "/chart.js") return Read(m_chartLibrary);
  if (!path.starts_with('/') || path.find('\0') != std::string::npos) return std::nullopt;
  const std::string name = path == "/" ? "index.html" : path.substr(1);
  std::error_code error;
  const fs::path folder = fs::canonical(m_folder, error);
  if (error) return std::nullopt;
  const fs::path file = fs::canonical(folder / fs::path(name).relative_path(), error);
  if (error || !IsBelow(file, folder)) return std::nullopt;
  return Read(file);
}

}  // namespace console
