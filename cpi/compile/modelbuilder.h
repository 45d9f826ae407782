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

#include "cpi/compile/attributetypes.h"
#include "cpi/compile/contentmodel.h"
#include "cpi/compile/schematypes.h"
#include "cpi/compile/substitution.h"
#include "cpi/compile/tabledraft.h"
#include "cpi/compile/wildcardtypes.h"

namespace cpi {

class ModelBuilder {
 public:
  // Adds all definitions of the model to `draft`: global elements in the order of `elements`, what
  // they lead to, the other named types, and a tag for each named type.
  ModelBuilder(xercesc::XSModel& model, const std::vector<xercesc::XSElementDeclaration*>& elements,
               TableDraft& draft);

  // Global elements that were referred to but have no concrete member, in the order met.
  const std::vector<xercesc::XSElementDeclaration*>& unsatisfiable() const noexcept {
    return unsatisfiable_;
  }

 private:
  std::int32_t tagOf(xercesc::XSElementDeclaration& element);
  // Completes the types that are listed, and those that this adds to the list.
  void fillListed();
  void fillAttributes(xercesc::XSModel& model);
  void fillContent(std::int32_t type, xercesc::XSComplexTypeDefinition& definition);
  std::vector<Particle> contentOf(xercesc::XSComplexTypeDefinition& definition);
  // Append nothing for a particle that admits nothing.
  void appendParticle(std::vector<Particle>& out, xercesc::XSParticle& source);
  void appendElement(std::vector<Particle>& out, xercesc::XSElementDeclaration& element,
                     Particle particle);
  void fillGroup(Particle& group, xercesc::XSModelGroup& source);
  Particle anyContent();
  bool needsEnclosure(const Particle& content) const;
  bool admitsElementOf(std::int32_t wildcard, const Particle& content) const;

  void addMembers(std::int32_t type, const std::vector<Particle>& particles);
  MemberDraft memberOf(const Particle& particle);
  std::int32_t groupType(const Particle& group);

  TableDraft& draft_;
  SchemaTypes types_;
  WildcardTypes wildcards_;
  AttributeTypes attributes_;
  SubstitutionGroups substitutions_;
  std::unordered_map<const xercesc::XSElementDeclaration*, std::int32_t> tags_;
  std::map<std::int32_t, std::int32_t> sharedGroups_;  // types, by key
  std::size_t filled_ = 0;                             // of the types listed
  std::vector<xercesc::XSElementDeclaration*> unsatisfiable_;
  std::int32_t localCount_ = 0;
};

}  // namespace cpi

#endif  // CPI_COMPILE_MODELBUILDER_H
