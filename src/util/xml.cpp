#include "util/xml.h"

#include <fcntl.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlIO.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "util/file.h"

namespace util {
namespace {

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

// The content of a regular file within the limit; nothing for anything else. The non-blocking open
// keeps a named pipe from stopping the start-up.
std::optional<std::string> ReadBounded(const char* path) {
  const Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (status.st_size > static_cast<off_t>(kXmlFileLimitBytes)) return std::nullopt;

  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t length = 0;
  while (length < content.size()) {
    const ssize_t count = read(file.Get(), content.data() + length, content.size() - length);
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  content.resize(length);
  return content;
}

// What may hold anything that looks like a tag.
struct Passage {
  std::string_view start;
  std::string_view end;
};
constexpr std::array<Passage, 3> kPassages = {
    {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}}};

// The place behind `end`, at or after `from`; behind the content when it does not come.
std::size_t Behind(std::string_view content, std::string_view end, std::size_t from) {
  const std::size_t place = content.find(end, from);
  return place == std::string_view::npos ? content.size() : place + end.size();
}

// The place behind the passage that starts at `place`; nothing where none starts.
std::optional<std::size_t> BehindPassage(std::string_view content, std::size_t place) {
  for (const auto& [start, end] : kPassages) {
    if (content.substr(place, start.size()) == start) {
      return Behind(content, end, place + start.size());
    }
  }
  return std::nullopt;
}

// libxml2 compares every attribute of an element with all before it: tens of thousands of them take
// it hours. Each has its text in quotes. Where this reads tags otherwise than libxml2 does, the
// file is not well-formed and libxml2 has stopped.
bool HasOverloadedTag(std::string_view content) {
  bool isInTag = false;
  int texts = 0;
  std::size_t place = 0;
  while ((place = content.find_first_of(isInTag ? "<>\"'" : "<", place)) < content.size()) {
    const std::string_view found = content.substr(place, 1);
    if (found == "\"" || found == "'") {
      if (++texts > kXmlAttributesLimit) return true;
      place = Behind(content, found, place + 1);
    } else if (found == ">") {
      isInTag = false;
      ++place;
    } else if (const auto behind = BehindPassage(content, place)) {
      place = *behind;
    } else {
      isInTag = true;
      texts = 0;
      ++place;
    }
  }
  return false;
}

void Refuse(xmlParserCtxtPtr context) {
  context->wellFormed = 0;
  xmlStopParser(context);
}

// Entities and default attributes are how a small file becomes a huge document.
void RefuseEntity(void* context, const xmlChar* /*name*/, int /*type*/, const xmlChar* /*publicId*/,
                  const xmlChar* /*systemId*/, xmlChar* /*content*/) {
  Refuse(static_cast<xmlParserCtxtPtr>(context));
}

void RefuseDefaults(void* context, const xmlChar* /*element*/, const xmlChar* /*name*/,
                    int /*type*/, int /*presence*/, const xmlChar* /*value*/,
                    xmlEnumerationPtr values) {
  xmlFreeEnumeration(values);  // the receiver's, by libxml2's convention
  Refuse(static_cast<xmlParserCtxtPtr>(context));
}

// Ends the parse at the first fatal error; libxml2 by itself goes on to report every later one.
void StopAtFatalError(void* context, xmlErrorPtr error) {
  if (error->level != XML_ERR_FATAL) return;
  std::fprintf(stderr, "line %d: %s", error->line, error->message);
  Refuse(static_cast<xmlParserCtxtPtr>(context));
}

// libxml2's loader for everything that a parse wants to read. It gives out the document itself,
// as plain bytes from the disk, and no external entity, address or compressed stream.
xmlParserInputPtr LoadDocumentOnly(const char* path, const char* /*id*/, xmlParserCtxtPtr context) {
  if (path == nullptr || context->inputNr > 0) return nullptr;
  const auto content = ReadBounded(path);
  if (!content || HasOverloadedTag(*content)) return nullptr;
  context->sax->entityDecl = RefuseEntity;
  context->sax->attributeDecl = RefuseDefaults;
  context->sax->serror = StopAtFatalError;
  xmlParserInputBufferPtr buffer = xmlParserInputBufferCreateMem(
      content->data(), static_cast<int>(content->size()), XML_CHAR_ENCODING_NONE);
  if (buffer == nullptr) return nullptr;
  return xmlNewIOInputStream(context, buffer, XML_CHAR_ENCODING_NONE);
}

}  // namespace

std::string_view XmlElement::Name() const {
  return AsChars(m_node->name);
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
  xmlSetExternalEntityLoader(LoadDocumentOnly);
  XmlDocument document;
  document.m_document.reset(xmlReadFile(path, "UTF-8", XML_PARSE_NOBLANKS));
  if (document) xmlKeepBlanksDefault(0);
  return document;
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
