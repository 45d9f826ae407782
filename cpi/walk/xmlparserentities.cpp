// What a document type declares, and what refers to it: entities and attributes.
#include <new>

#include "cpi/walk/xmlparsercontext.h"

namespace cpi {
namespace {

// libxml2 limits what entities expand to only where it builds text of them; here each reference is
// parsed in place. Bytes of replacement text, with something for each reference itself.
constexpr std::int64_t kMaxExpansion = 10'000'000;
constexpr std::int64_t kReferenceCost = 32;

}  // namespace

// An entity with a location outside becomes an empty one, so that no reference can lead there.
void XmlEventParser::Context::onEntity(void* parser, const xmlChar* name, int type,
                                       const xmlChar* publicId, const xmlChar* systemId,
                                       xmlChar* content) {
  xmlChar nothing[] = {0};
  if (content != nullptr && hasLongTag(content, content + xmlStrlen(content))) {
    Context& self = of(parser);
    self.guarded(parser, [&self] { self.fail("a tag has too many attributes"); });
    return;
  }
  if (type == XML_EXTERNAL_GENERAL_PARSED_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY) {
    ++of(parser).notFetched_;
    const bool isGeneral = type == XML_EXTERNAL_GENERAL_PARSED_ENTITY;
    type = isGeneral ? XML_INTERNAL_GENERAL_ENTITY : XML_INTERNAL_PARAMETER_ENTITY;
    publicId = systemId = nullptr;
    content = nothing;
  }
  xmlSAX2EntityDecl(parser, name, type, publicId, systemId, content);
  const bool isGeneral = type != XML_INTERNAL_PARAMETER_ENTITY;
  const bool isKept = isGeneral ? xmlSAX2GetEntity(parser, name) != nullptr
                                : xmlSAX2GetParameterEntity(parser, name) != nullptr;
  // What is dropped for want of memory is dropped without a word.
  if (!isKept) of(parser).guarded(parser, [] { throw std::bad_alloc(); });
}

// The parser keeps the defaults itself. Those of one element count as attributes of its tags.
void XmlEventParser::Context::onAttributeDeclaration(void* parser, const xmlChar*, const xmlChar*,
                                                     int, int, const xmlChar*,
                                                     xmlEnumerationPtr values) {
  xmlFreeEnumeration(values);
  Context& self = of(parser);
  self.guarded(parser, [&self] {
    if (++self.declared_ > kMaxAttributes) self.fail("too many attributes are declared");
  });
}

xmlEntityPtr XmlEventParser::Context::onReference(void* parser, const xmlChar* name) {
  Context& self = of(parser);
  const xmlEntityPtr entity = xmlSAX2GetEntity(parser, name);
  self.guarded(parser, [&] {
    self.expansion_ += kReferenceCost + (entity == nullptr ? 0 : entity->length);
    if (self.expansion_ > kMaxExpansion) self.fail("entities expand to too much");
  });
  if (self.pending_ == nullptr) return entity;
  stop(static_cast<xmlParserCtxtPtr>(parser));  // it may be one between the first and the last
  return nullptr;
}

const xmlChar** XmlEventParser::Context::replaced(void* parser, const xmlChar** attributes,
                                                  int count) {
  return references_.replacedIn(attributes, count, [&](const std::string& name) {
    const xmlEntityPtr entity = onReference(parser, bytesOf(name.c_str()));
    if (pending_ != nullptr) std::rethrow_exception(pending_);
    if (entity == nullptr || entity->content == nullptr) return std::string_view();
    return std::string_view(charsOf(entity->content));
  });
}

void XmlEventParser::Context::onExternalSubset(void* parser, const xmlChar*, const xmlChar*,
                                               const xmlChar* systemId) {
  if (systemId != nullptr) ++of(parser).notFetched_;
}

}  // namespace cpi
