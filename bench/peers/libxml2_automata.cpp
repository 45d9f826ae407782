// libxml2's automata alone, on which its schema validation runs: the content model of each type as
// one automaton, led along the children of each element. No declaration is looked up and no value
// checked, so this is the least that structure costs there.
#include <libxml/parser.h>  // xmlautomata.h does not compile alone
#include <libxml/xmlautomata.h>
#include <libxml/xmlregexp.h>

#include <map>

#include "bench/support/kept.h"
#include "bench/support/messages.h"
#include "cpi/extract/modelconventions.h"

namespace cpi::bench {
namespace {

struct ElementName {
  std::string local;
  std::string namespaceURI;
};

const xmlChar* text(const std::string& value) {
  return value.empty() ? nullptr : reinterpret_cast<const xmlChar*>(value.c_str());
}

// What an element is compared with: what follows the mark in a tag's text, or all of it.
ElementName nameOfTag(const StdDictionaryInfo& dictionary, const SMD_TAG_DEFINITION& tag) {
  const std::u16string_view identifier = textView(tag.TextIdentifier);
  return {toUtf8(identifier.substr(identifier.find(kNameMark) + 1)),
          toUtf8(dictionary.namespaceText(tag.namespaceIndex))};
}

class AutomatonBuilder {
 public:
  explicit AutomatonBuilder(const StdDictionaryInfo& dictionary) : dictionary_(dictionary) {}
  AutomatonBuilder(const AutomatonBuilder&) = delete;
  AutomatonBuilder& operator=(const AutomatonBuilder&) = delete;
  ~AutomatonBuilder() { xmlFreeAutomata(automata_); }

  xmlRegexp* build(std::int32_t typeIndex) {
    xmlAutomataState* const end = content(typeIndex, xmlAutomataGetInitState(automata_));
    xmlAutomataSetFinalState(automata_, end);
    return xmlAutomataCompile(automata_);
  }

 private:
  xmlAutomataState* content(std::int32_t typeIndex, xmlAutomataState* start) {
    const SMD_TYPE_DEFINITION& type = dictionary_.types().row(typeIndex);
    const bool isInOrder = type.Composition == TYPE_SEQUENCE || type.Composition == TYPE_ORDERED;
    xmlAutomataState* const end = isInOrder ? nullptr : xmlAutomataNewState(automata_);
    xmlAutomataState* at = start;
    const std::int32_t rows = dictionary_.typeMembers().rowCount();
    for (std::int32_t row = type.ToTypeMbrIndex; row >= 0 && row < rows; ++row) {
      const auto& member = dictionary_.typeMembers().row(row);
      if (member.ParentTypeId != type.TypeId) break;
      xmlAutomataState* const behind = particle(member, isInOrder ? at : start);
      if (isInOrder) at = behind;
      else xmlAutomataNewEpsilon(automata_, behind, end);
    }
    return isInOrder ? at : end;
  }

  // Limits above 1 count as none, which is the cheaper automaton.
  xmlAutomataState* particle(const SMD_STRUCTURE_ELEMENT_DEFINITION& member,
                             xmlAutomataState* from) {
    xmlAutomataState* const start = xmlAutomataNewEpsilon(automata_, from, nullptr);
    xmlAutomataState* const end = xmlAutomataNewState(automata_);
    xmlAutomataState* const behind = single(member, start);
    if (member.MaxOccurs != 1) xmlAutomataNewEpsilon(automata_, behind, start);
    xmlAutomataNewEpsilon(automata_, behind, end);
    if (member.MinOccurs == 0) xmlAutomataNewEpsilon(automata_, start, end);
    return end;
  }

  xmlAutomataState* single(const SMD_STRUCTURE_ELEMENT_DEFINITION& member, xmlAutomataState* from) {
    const SMD_TAG_DEFINITION* const tag = dictionary_.tags().find(member.toTagIndex);
    if (tag != nullptr) return transition(from, nameOfTag(dictionary_, *tag));
    const SMD_TYPE_DEFINITION* const type = dictionary_.types().find(member.toTypeIndex);
    if (type == nullptr || type->LogicalType >= kFirstWildcardLogicalType) {
      return transition(from, {"*", "*"});
    }
    return content(member.toTypeIndex, from);
  }

  xmlAutomataState* transition(xmlAutomataState* from, const ElementName& name) {
    return xmlAutomataNewTransition2(automata_, from, nullptr, text(name.local),
                                     text(name.namespaceURI), nullptr);
  }

  const StdDictionaryInfo& dictionary_;
  xmlAutomata* automata_ = xmlNewAutomata();
};

// The automata of a model, and its message with the names in the form that they take. Lives as long
// as the program.
class AutomataWalk {
 public:
  explicit AutomataWalk(const Model& model) {
    std::size_t depth = 0;
    for (const Step& step : model.steps()) {
      depth = step.isFirstChild ? depth + 1 : depth - static_cast<std::size_t>(step.leaves);
      elements_.push_back({depth - 1, toUtf8(textView(step.name)), step.namespaceURI.toUtf8(),
                           step.isLeaf ? nullptr : automaton(model, step.typeIndex)});
    }
  }

  void run() {
    for (const Element& element : elements_) {
      closeTo(element.depth);
      if (element.depth > 0) check(push(open_.back(), text(element.local), text(element.uri)));
      if (element.content != nullptr) {
        open_.push_back(xmlRegNewExecCtxt(element.content, nullptr, nullptr));
      }
    }
    closeTo(0);
  }

 private:
  struct Element {
    std::size_t depth;
    std::string local;
    std::string uri;
    xmlRegexp* content;  // null: nothing inside
  };

  xmlRegexp* automaton(const Model& model, std::int32_t typeIndex) {
    xmlRegexp*& regexp = automata_[typeIndex];
    if (regexp == nullptr) regexp = AutomatonBuilder(model.dictionary()).build(typeIndex);
    return regexp;
  }
  static int push(xmlRegExecCtxt* at, const xmlChar* local, const xmlChar* uri) {
    return xmlRegExecPushString2(at, local, uri, nullptr);
  }
  static void check(int result) {
    if (result < 0) throw std::runtime_error("the automaton does not take the message");
  }
  void closeTo(std::size_t depth) {
    for (; open_.size() > depth; open_.pop_back()) {
      check(push(open_.back(), nullptr, nullptr));
      xmlRegFreeExecCtxt(open_.back());
    }
  }

  std::vector<Element> elements_;
  std::vector<xmlRegExecCtxt*> open_;
  std::map<std::int32_t, xmlRegexp*> automata_;
};

void addWalk(const NamedModel& named) {
  add("walk/" + named.name + "/libxml2-automata", [of = named.model](benchmark::State& state) {
    const Model& model = of();
    const auto& walk = kept(&model, [&] { return std::make_unique<AutomataWalk>(model); });
    measure(state, model.elements(), [&] { walk->run(); });
  });
}

const bool kRegistered = registered([] {
  for (const NamedModel& named : messageModels()) addWalk(named);
  for (const std::size_t members : kPeerChoices) addWalk(choiceModel(members));
});

}  // namespace
}  // namespace cpi::bench
