// Reading XML configuration files through libxml2, safely: nothing but the named file itself is
// ever read, its size, its nesting and its parts are bounded, and a file that is refused is named.
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

inline constexpr std::size_t kXmlFileLimitBytes = 8388608;  // larger files are not read
inline constexpr int kXmlAttributesLimit = 64;              // an element with more spoils its file
inline constexpr int kXmlNodesLimit = 262144;               // elements and attributes of a file
inline constexpr int kXmlSpacesLimit = 64;                  // name spaces that a file declares

struct XmlAttribute {
  std::string name;
  std::string value;
};

// What it is for: a look at one element of a document. Cheap to copy; lives as long as the
// document.
class XmlElement {
 public:
  explicit XmlElement(_xmlNode* node) : m_node(node) {}

  std::string_view Name() const;
  bool Is(std::string_view name) const { return Name() == name; }
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

// What it is for: one parsed configuration file.
// Threads: the one that holds it. Owns: the parsed tree.
class XmlDocument {
 public:
  XmlDocument() = default;

  // Parses a regular file of at most kXmlFileLimitBytes, as UTF-8 whatever it claims. Without a
  // document, and with a line on standard error, when the file cannot be read, is larger, is not
  // well-formed, is beyond a limit above, or declares entities or attributes of its own: no
  // configuration file needs them, and small files grow huge by them. The document holds elements
  // with their attributes and nothing else.
  static XmlDocument Read(const char* path);

  explicit operator bool() const { return m_document != nullptr; }
  // Nothing when there is no root element. A document must be held.
  std::optional<XmlElement> Root() const;
  // Frees the document; false when none was held.
  bool Free();
  // Says on standard error that the file is refused: one line of its path and the reason.
  void SayRefused(const std::string& reason) const;
  // The same for a root, which there must be, of another name.
  void SayOtherRoot(const char* wanted) const;

 private:
  std::string m_path;
  std::unique_ptr<_xmlDoc, XmlDocumentFreer> m_document;
};

}  // namespace util
