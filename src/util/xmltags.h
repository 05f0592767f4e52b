// A look at the tags of an XML text before the parser gets it.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace util {

// The place of the first tag with more than kXmlAttributesLimit attributes; nothing when there is
// none. libxml2 compares every attribute of an element with all attributes before it, so that tens
// of thousands of them take hours. The text need not be well-formed.
std::optional<std::size_t> OverloadedTag(std::string_view content);

}  // namespace util
