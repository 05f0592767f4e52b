// Parsing XML text with libxml2 under limits of time and memory.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "util/xml.h"

namespace util {

// Parses the text as XmlDocument::Read describes. Null when it is refused; `reason` then says why,
// with the line.
std::unique_ptr<_xmlDoc, XmlDocumentFreer> ParseXml(std::string_view content, std::string& reason);

// A reason with its line in the file: "line 2: declares an entity".
std::string AtLine(long line, const std::string& reason);

}  // namespace util
