// ModelBuilder: from the components of a schema to the drafts of tags, types and members.
//
// Types are taken from a queue, so that models which contain one another end and deep ones need no
// deep recursion. Everything is visited in an order that the schema gives: tables that are keyed by
// a component are asked, never listed.
#ifndef CPI_COMPILE_MODELBUILDER_H
#define CPI_COMPILE_MODELBUILDER_H

#include <map>
#include <string>
#include <unordered_map>
#include <vector>
#include <xercesc/framework/psvi/XSComplexTypeDefinition.hpp>
#include <xercesc/framework/psvi/XSElementDeclaration.hpp>
#include <xercesc/framework/psvi/XSModel.hpp>
#include <xercesc/framework/psvi/XSModelGroup.hpp>
#include <xercesc/framework/psvi/XSParticle.hpp>
#include <xercesc/framework/psvi/XSSimpleTypeDefinition.hpp>

#include "cpi/compile/contentmodel.h"
#include "cpi/compile/substitution.h"
#include "cpi/compile/tabledraft.h"
#include "cpi/compile/wildcardtext.h"

namespace cpi {

class ModelBuilder {
 public:
  // Adds all definitions of the model to `draft`: global elements in the order of `elements`, what
  // they lead to, the other named types, and a tag for each named type.
  ModelBuilder(xercesc::XSModel& model, const std::vector<xercesc::XSElementDeclaration*>& elements,
               TableDraft& draft);

  // Global elements that were referred to but have no concrete member, "{namespace}name".
  const std::vector<std::string>& unsatisfiable() const noexcept { return unsatisfiable_; }

 private:
  struct NamedType {
    std::int32_t index;
    xercesc::XSTypeDefinition* definition;
  };

  std::int32_t tagOf(xercesc::XSElementDeclaration& element);
  void addValueProperties(TagDraft& tag, xercesc::XSTypeDefinition& type);
  std::int32_t valueSetOf(xercesc::XSSimpleTypeDefinition& type);
  void addTypeTags();

  // The draft of a type, which is filled later; null stands for xs:anyType. An anonymous type is
  // named after `element`.
  std::int32_t typeOf(xercesc::XSTypeDefinition* definition, std::u16string_view element);
  xercesc::XSTypeDefinition& canonical(xercesc::XSTypeDefinition* definition);
  void addOtherNamedTypes(bool builtIn);
  void fillPending();
  void fill(NamedType pending);
  std::int32_t baseOf(xercesc::XSTypeDefinition& definition);

  void fillContent(std::int32_t type, xercesc::XSComplexTypeDefinition& definition);
  std::vector<Particle> contentOf(xercesc::XSComplexTypeDefinition& definition);
  // Append nothing for a particle that admits nothing.
  void appendParticle(std::vector<Particle>& out, xercesc::XSParticle& source);
  void appendElement(std::vector<Particle>& out, xercesc::XSElementDeclaration& element,
                     Particle particle);
  void fillGroup(Particle& group, xercesc::XSModelGroup& source);
  void noteUnsatisfiable(xercesc::XSElementDeclaration& element);
  Particle anyContent();
  std::int32_t wildcardType(const WildcardText& text);
  bool needsEnclosure(const Particle& content) const;
  bool admitsElementOf(std::int32_t wildcard, const Particle& content) const;

  void addMembers(std::int32_t type, const std::vector<Particle>& particles);
  MemberDraft memberOf(const Particle& particle);
  std::int32_t groupType(const Particle& group);
  std::u16string numbered(std::u16string_view kind);

  xercesc::XSModel& model_;
  TableDraft& draft_;
  SubstitutionGroups substitutions_;
  std::unordered_map<const xercesc::XSElementDeclaration*, std::int32_t> tags_;
  std::unordered_map<const xercesc::XSTypeDefinition*, std::int32_t> types_;
  std::unordered_map<const xercesc::XSSimpleTypeDefinition*, std::int32_t> valueSets_;
  std::map<std::u16string, std::int32_t> wildcards_;     // types, by identifier
  std::map<std::int32_t, WildcardText> wildcardOfType_;  // by type
  std::map<std::int32_t, std::int32_t> sharedGroups_;    // types, by key
  std::vector<NamedType> pending_;                       // all types in order of discovery
  std::size_t filled_ = 0;                               // of pending_
  std::vector<NamedType> named_;
  std::vector<std::string> unsatisfiable_;
  std::int32_t localCount_ = 0;
  std::int32_t anonymousCount_ = 0;
};

}  // namespace cpi

#endif  // CPI_COMPILE_MODELBUILDER_H
