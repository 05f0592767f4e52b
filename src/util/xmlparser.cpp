#include "util/xmlparser.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <algorithm>

#include "util/text.h"
#include "util/xmltags.h"

namespace util {
namespace {

// The state of one parse. libxml2 hands it to the functions below with its context.
struct Parse {
  std::string_view unread;
  int nodes = 0;
  int spaces = 0;
  std::string reason{};  // why the text is refused; empty as long as it is not
};

// Gives libxml2 the text in small pieces, so that it never holds a second copy of it.
int ReadOn(void* parse, char* buffer, int length) {
  std::string_view& unread = static_cast<Parse*>(parse)->unread;
  const std::size_t count = unread.copy(buffer, static_cast<std::size_t>(length));
  unread.remove_prefix(count);
  return static_cast<int>(count);
}

// Ends the parse. The first reason is kept.
void Refuse(void* data, long line, const std::string& reason) {
  auto* context = static_cast<xmlParserCtxtPtr>(data);
  std::string& kept = static_cast<Parse*>(context->_private)->reason;
  if (kept.empty()) kept = AtLine(line, reason);
  xmlStopParser(context);
}

void RefuseHere(void* context, const std::string& reason) {
  Refuse(context, xmlSAX2GetLineNumber(context), reason);
}

// Entities and default attributes let a small file grow into a huge document.
void RefuseEntity(void* context) {
  RefuseHere(context, "declares an entity");
}

void RefuseDefaults(void* context, const xmlChar* /*element*/, const xmlChar* /*name*/,
                    int /*type*/, int /*presence*/, const xmlChar* /*value*/,
                    xmlEnumerationPtr values) {
  xmlFreeEnumeration(values);  // libxml2 leaves it to the receiver
  RefuseHere(context, "declares an attribute");
}

// Adds an element to the document as long as both limits allow it. Name spaces have a limit because
// libxml2 compares the prefix of every element with all name spaces around it.
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

// Lets only elements and attributes into the document, and no other file or address be read.
void Restrict(xmlSAXHandler& sax) {
  sax.startElementNs = StartElement;
  sax.entityDecl = [](void* context, auto... /*declaration*/) { RefuseEntity(context); };
  sax.unparsedEntityDecl = [](void* context, auto... /*declaration*/) { RefuseEntity(context); };
  sax.attributeDecl = RefuseDefaults;
  // By default libxml2 goes on and reports every later error. `auto`: later versions add a const.
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

}  // namespace

std::unique_ptr<_xmlDoc, XmlDocumentFreer> ParseXml(std::string_view content, std::string& reason) {
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
  std::unique_ptr<_xmlDoc, XmlDocumentFreer> document(
      xmlCtxtReadIO(context.get(), ReadOn, nullptr, &parse, nullptr, "UTF-8",
                    XML_PARSE_NOBLANKS | XML_PARSE_NONET));
  if (document && parse.reason.empty()) return document;
  reason = parse.reason.empty() ? "cannot be parsed" : parse.reason;
  return nullptr;
}

std::string AtLine(long line, const std::string& reason) {
  return Format("line %ld: %s", line, reason.c_str());
}

}  // namespace util
