#include "util/xml.h"

#include <fcntl.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "util/file.h"
#include "util/text.h"

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

// The content of a regular file within the limit; nothing, and the reason, for anything else. The
// non-blocking open keeps a named pipe from stopping the start-up.
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
  const std::string_view second = content.substr(place + 1, 1);
  if (second != "!" && second != "?") return std::nullopt;
  for (const auto& [start, end] : kPassages) {
    if (content.substr(place, start.size()) == start) {
      return Behind(content, end, place + start.size());
    }
  }
  return std::nullopt;
}

// libxml2 compares every attribute of an element with all before it: tens of thousands of them take
// it hours. Each has its text in quotes. Where this reads tags otherwise than libxml2 does, the
// file is not well-formed and libxml2 has stopped. The place of the first such tag.
std::optional<std::size_t> OverloadedTag(std::string_view content) {
  bool isInTag = false;
  int texts = 0;
  std::size_t tag = 0;
  std::size_t place = 0;
  while ((place = content.find_first_of(isInTag ? "<>\"'" : "<", place)) < content.size()) {
    const std::string_view found = content.substr(place, 1);
    if (found == "\"" || found == "'") {
      if (++texts > kXmlAttributesLimit) return tag;
      place = Behind(content, found, place + 1);
    } else if (found == ">") {
      isInTag = false;
      ++place;
    } else if (const auto behind = BehindPassage(content, place)) {
      place = *behind;
    } else {
      isInTag = true;
      texts = 0;
      tag = place++;
    }
  }
  return std::nullopt;
}

std::string AtLine(long line, const std::string& reason) {
  return Format("line %ld: %s", line, reason.c_str());
}

// One parse, which libxml2's context carries along.
struct Parse {
  std::string_view unread;
  int nodes = 0;
  int spaces = 0;
  std::string reason{};  // why the file is refused; empty while it is not
};

// The file's bytes as libxml2 asks for them, so that it holds a few of them at a time.
int ReadOn(void* parse, char* buffer, int length) {
  std::string_view& unread = static_cast<Parse*>(parse)->unread;
  const std::size_t count = unread.copy(buffer, static_cast<std::size_t>(length));
  unread.remove_prefix(count);
  return static_cast<int>(count);
}

// Ends the parse. The first reason counts.
void Refuse(void* data, long line, const std::string& reason) {
  auto* context = static_cast<xmlParserCtxtPtr>(data);
  std::string& kept = static_cast<Parse*>(context->_private)->reason;
  if (kept.empty()) kept = AtLine(line, reason);
  xmlStopParser(context);
}

void RefuseHere(void* context, const std::string& reason) {
  Refuse(context, xmlSAX2GetLineNumber(context), reason);
}

// Entities and default attributes are how a small file becomes a huge document.
void RefuseEntity(void* context) {
  RefuseHere(context, "declares an entity");
}

void RefuseDefaults(void* context, const xmlChar* /*element*/, const xmlChar* /*name*/,
                    int /*type*/, int /*presence*/, const xmlChar* /*value*/,
                    xmlEnumerationPtr values) {
  xmlFreeEnumeration(values);  // the receiver's, by libxml2's convention
  RefuseHere(context, "declares an attribute");
}

// Passes an element on into the document while there is room for it. libxml2 compares the prefix of
// every element with all name spaces around it.
void StartElement(void* data, const xmlChar* name, const xmlChar* prefix, const xmlChar* space,
                  int spaceCount, const xmlChar** spaces, int attributeCount, int defaultCount,
                  const xmlChar** attributes) {
  auto* parse = static_cast<Parse*>(static_cast<xmlParserCtxtPtr>(data)->_private);
  parse->nodes += 1 + attributeCount;
  parse->spaces += spaceCount;
  if (parse->spaces > kXmlSpacesLimit) {
    return RefuseHere(data, Format("declares more than %d name spaces", kXmlSpacesLimit));
  }
  if (parse->nodes > kXmlNodesLimit) {
    return RefuseHere(data, Format("has more than %d elements and attributes", kXmlNodesLimit));
  }
  xmlSAX2StartElementNs(data, name, prefix, space, spaceCount, spaces, attributeCount, defaultCount,
                        attributes);
}

// The document gets elements and attributes, which is all that is asked for, and no other file or
// address is looked at.
void Restrict(xmlSAXHandler& sax) {
  sax.startElementNs = StartElement;
  sax.entityDecl = [](void* context, auto... /*declaration*/) { RefuseEntity(context); };
  sax.unparsedEntityDecl = [](void* context, auto... /*declaration*/) { RefuseEntity(context); };
  sax.attributeDecl = RefuseDefaults;
  // libxml2 by itself goes on to report every later error. `auto`: later versions add a const.
  sax.serror = [](void* context, auto* error) {
    if (error->level != XML_ERR_FATAL) return;
    Refuse(context, error->line, error->message == nullptr ? "no memory" : error->message);
  };
  sax.externalSubset = nullptr;
  sax.resolveEntity = nullptr;
  sax.elementDecl = nullptr;
  sax.notationDecl = nullptr;
  sax.characters = nullptr;
  sax.cdataBlock = nullptr;
  sax.comment = nullptr;
  sax.processingInstruction = nullptr;
}

struct ContextFreer {
  void operator()(xmlParserCtxtPtr context) const { xmlFreeParserCtxt(context); }
};

using DocumentHolder = std::unique_ptr<xmlDoc, XmlDocumentFreer>;

// The document; null, and the reason, when it is refused.
DocumentHolder ParseContent(std::string_view content, std::string& reason) {
  if (const auto tag = OverloadedTag(content)) {
    const auto line = std::count(content.begin(), content.begin() + static_cast<long>(*tag), '\n');
    reason =
        AtLine(line + 1, Format("has a tag with more than %d attributes", kXmlAttributesLimit));
    return nullptr;
  }
  const std::unique_ptr<xmlParserCtxt, ContextFreer> context(xmlNewParserCtxt());
  if (!context) {
    reason = "cannot be parsed: no memory";
    return nullptr;
  }
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (content.starts_with(kByteOrderMark)) content.remove_prefix(kByteOrderMark.size());
  Parse parse{content};
  context->_private = &parse;
  Restrict(*context->sax);
  DocumentHolder document(xmlCtxtReadIO(context.get(), ReadOn, nullptr, &parse, nullptr, "UTF-8",
                                        XML_PARSE_NOBLANKS | XML_PARSE_NONET));
  if (document && parse.reason.empty()) return document;
  reason = parse.reason.empty() ? "cannot be parsed" : parse.reason;
  return nullptr;
}

// The text on one line of bounded length.
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
  if (const auto content = ReadBounded(document.m_path.c_str(), reason)) {
    document.m_document = ParseContent(*content, reason);
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
