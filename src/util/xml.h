// Reading XML configuration files safely. Only the named file itself is read. Its size, nesting and
// number of elements are limited. A file that is refused is named on standard error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct _xmlDoc;   // NOLINT(*-reserved-identifier,cert-dcl*): libxml2's own names
struct _xmlNode;  // NOLINT(*-reserved-identifier,cert-dcl*)

namespace util {

// A file beyond one of these limits is refused.
inline constexpr std::size_t kXmlFileLimitBytes = 8388608;
inline constexpr int kXmlAttributesLimit = 64;  // of one element
inline constexpr int kXmlNodesLimit = 262144;   // elements and attributes of the file
inline constexpr int kXmlSpacesLimit = 64;      // name spaces that the file declares

struct XmlAttribute {
  std::string name;
  std::string value;
};

// One element of a document, without its own copy of the data. It is cheap to copy and valid as
// long as the document is held.
class XmlElement {
 public:
  explicit XmlElement(_xmlNode* node) : m_node(node) {}

  std::string_view Name() const;
  bool Is(std::string_view name) const { return Name() == name; }
  // The line of the file in which its start tag ends; 65535 for every later line.
  long Line() const;
  // The child elements, in document order.
  std::vector<XmlElement> Children() const;
  // The attribute of that name, or nothing when the element has none.
  std::optional<std::string> Attribute(const char* name) const;
  // All attributes, in document order.
  std::vector<XmlAttribute> Attributes() const;

 private:
  _xmlNode* m_node;
};

struct XmlDocumentFreer {
  void operator()(_xmlDoc* document) const;
};

// One parsed configuration file. It is used by one thread at a time and holds the parsed tree until
// Free or its destruction.
class XmlDocument {
 public:
  XmlDocument() = default;

  // Parses a regular file within the limits above, as UTF-8 whatever encoding it claims. Only
  // elements and attributes are kept. The result holds no document, and a line on standard error
  // says why, when the file cannot be read, is not well-formed, is beyond a limit, or declares
  // entities or attributes: no configuration file needs those, and they let a small file grow huge.
  static XmlDocument Read(const char* path);

  explicit operator bool() const { return m_document != nullptr; }
  // The root element, if there is one. A document must be held.
  std::optional<XmlElement> Root() const;
  // Frees the document. False when none was held.
  bool Free();
  // Writes to standard error, on one line, that the file is refused and why.
  void SayRefused(const std::string& reason) const;
  // The same when the root element, which must exist, has another name than wanted.
  void SayOtherRoot(const char* wanted) const;

 private:
  std::string m_path;
  std::unique_ptr<_xmlDoc, XmlDocumentFreer> m_document;
};

}  // namespace util
