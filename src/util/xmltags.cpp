#include "util/xmltags.h"

#include <array>

#include "util/xml.h"

namespace util {
namespace {

// Parts of a text in which anything that looks like a tag is none.
struct Passage {
  std::string_view start;
  std::string_view end;
};
constexpr std::array<Passage, 3> kPassages = {
    {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}}};

// The place after the next `end`, searched from `from` on; the end of the content without one.
std::size_t After(std::string_view content, std::string_view end, std::size_t from) {
  const std::size_t place = content.find(end, from);
  return place == std::string_view::npos ? content.size() : place + end.size();
}

// The place after the passage that starts at `place`; nothing when none starts there.
std::optional<std::size_t> AfterPassage(std::string_view content, std::size_t place) {
  const std::string_view second = content.substr(place + 1, 1);
  if (second != "!" && second != "?") return std::nullopt;
  for (const auto& [start, end] : kPassages) {
    if (content.substr(place, start.size()) == start) {
      return After(content, end, place + start.size());
    }
  }
  return std::nullopt;
}

}  // namespace

// Each attribute has one text in quotes, so the texts of a tag are counted. libxml2 may read the
// tags of a malformed file differently, but it stops at the first error.
std::optional<std::size_t> OverloadedTag(std::string_view content) {
  bool isInTag = false;
  int texts = 0;
  std::size_t tag = 0;
  std::size_t place = 0;
  while ((place = content.find_first_of(isInTag ? "<>\"'" : "<", place)) < content.size()) {
    const std::string_view found = content.substr(place, 1);
    if (found == "\"" || found == "'") {
      if (++texts > kXmlAttributesLimit) return tag;
      place = After(content, found, place + 1);
    } else if (found == ">") {
      isInTag = false;
      ++place;
    } else if (const auto after = AfterPassage(content, place)) {
      place = *after;
    } else {
      isInTag = true;
      texts = 0;
      tag = place++;
    }
  }
  return std::nullopt;
}

}  // namespace util
