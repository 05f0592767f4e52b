#include "util/xml.h"

#include <fcntl.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "util/file.h"
#include "util/text.h"
#include "util/xmlparser.h"
#include "util/xmlplace.h"

namespace util {
namespace {

constexpr std::size_t kReasonBytes = 300;

struct XmlTextFreer {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlText = std::unique_ptr<xmlChar, XmlTextFreer>;

const char* AsChars(const xmlChar* text) {
  return reinterpret_cast<const char*>(text);
}

const xmlChar* AsXml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

std::string OwnText(const XmlText& text) {
  return text ? AsChars(text.get()) : "";
}

std::string CannotBeRead() {
  return Format("cannot be read: %s", std::strerror(errno));
}

// The content of a regular file within the limit; nothing, and the reason, for anything else. With
// O_NONBLOCK a named pipe cannot stop the start-up.
std::optional<std::string> ReadBounded(const char* path, std::string& reason) {
  const Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.Get(), &status) != 0) {
    reason = CannotBeRead();
  } else if (!S_ISREG(status.st_mode)) {
    reason = "is not a regular file";
  } else if (status.st_size > static_cast<off_t>(kXmlFileLimitBytes)) {
    reason = Format("is larger than %zu bytes", kXmlFileLimitBytes);
  }
  if (!reason.empty()) return std::nullopt;

  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t length = 0;
  while (length < content.size()) {
    const ssize_t count = read(file.Get(), content.data() + length, content.size() - length);
    if (count < 0) {
      reason = CannotBeRead();
      return std::nullopt;
    }
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  content.resize(length);
  return content;
}

// The text without line breaks, cut to kReasonBytes.
std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' '; }, ' ');
  text.resize(std::min(text.find_last_not_of(' ') + 1, kReasonBytes));
  return text;
}

}  // namespace

std::string_view XmlElement::Name() const {
  return AsChars(m_node->name);
}

long XmlElement::Line() const {
  return xmlGetLineNo(m_node);
}

std::vector<XmlElement> XmlElement::Children() const {
  std::vector<XmlElement> children;
  for (xmlNode* child = m_node->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) children.emplace_back(child);
  }
  return children;
}

std::optional<std::string> XmlElement::Attribute(const char* name) const {
  const XmlText value(xmlGetProp(m_node, AsXml(name)));
  if (!value) return std::nullopt;
  return OwnText(value);
}

std::vector<XmlAttribute> XmlElement::Attributes() const {
  std::vector<XmlAttribute> attributes;
  for (const xmlAttr* attribute = m_node->properties; attribute != nullptr;
       attribute = attribute->next) {
    const XmlText value(xmlNodeListGetString(m_node->doc, attribute->children, 1));
    attributes.push_back({AsChars(attribute->name), OwnText(value)});
  }
  return attributes;
}

void XmlDocumentFreer::operator()(_xmlDoc* document) const {
  xmlFreeDoc(document);
}

XmlDocument XmlDocument::Read(const char* path) {
  XmlDocument document;
  document.m_path = path == nullptr ? "" : path;
  std::string reason;
  if (const auto content = ReadBounded(PlaceOfXmlFile(document.m_path).c_str(), reason)) {
    document.m_document = ParseXml(*content, reason);
  }
  if (document) {
    xmlKeepBlanksDefault(0);
  } else {
    document.SayRefused(reason);
  }
  return document;
}

void XmlDocument::SayRefused(const std::string& reason) const {
  std::fprintf(stderr, "%s: %s\n", OneLine(m_path).c_str(), OneLine(reason).c_str());
}

void XmlDocument::SayOtherRoot(const char* wanted) const {
  const xmlNode* root = xmlDocGetRootElement(m_document.get());
  SayRefused(AtLine(xmlGetLineNo(root), Format("the root is not %s", wanted)));
}

std::optional<XmlElement> XmlDocument::Root() const {
  xmlNode* root = xmlDocGetRootElement(m_document.get());
  if (root == nullptr) return std::nullopt;
  return XmlElement(root);
}

bool XmlDocument::Free() {
  const bool held = m_document != nullptr;
  m_document.reset();
  return held;
}

}  // namespace util
