#include <algorithm>
#include <array>
#include <map>

#include "cpi/compile/schemadocuments.h"
#include "cpi/compile/sourcefile.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

namespace {

// A chain of references, and the nesting inside what it goes through, is as many nested calls in
// the schema processor, whose time grows with the square of the chain.
constexpr std::size_t kChainLimit = 20'000;
constexpr std::size_t kNestingLimit = 100'000;
// Components, particles, attributes, enumerated values and patterns in all, those counted again
// that a reference to a group or a derivation copies, and heads for each substitute. One of them
// takes up to 600 bytes in the processor.
constexpr std::size_t kSizeLimit = 400'000;
// The processor searches a list of its elements for each one that it adds to it.
constexpr double kStepLimit = 1e9;

// Bytes of stack, twice what was measured.
constexpr std::size_t kStackBase = std::size_t{8} << 20;
constexpr std::size_t kStackOfLink = 4096;
constexpr std::size_t kStackOfNesting = 512;
constexpr std::size_t kStackOfPart = 128;

struct Component {
  const SchemaDocument* document = nullptr;
  std::vector<const ComponentScan*> scans = {};  // of all components of this kind and name
};

using Components = std::map<ComponentName, Component>;

[[noreturn]] void refuse(const Components::value_type& component, const std::string& text) {
  const std::string name = toUtf8(component.first.name);
  refuseFile(component.second.document->path, component.second.scans.front()->place,
             text + ", at \"" + name + "\"");
}

// Goes through the components depth first, without recursion: all references for the length of
// chains, then those that copy for sizes. A name that is still open counts nothing there: a group
// that contains itself is an error which the schema processor reports.
class SizeCheck {
 public:
  explicit SizeCheck(const std::vector<SchemaDocument>& documents) {
    for (const SchemaDocument& document : documents) {
      for (const ComponentScan& scan : document.scan.components) {
        Component& component = components_[scan.name];
        component.document = &document;
        component.scans.push_back(&scan);
      }
    }
  }

  void run() {
    visitAll();
    sizes_.clear();
    copiesOnly_ = true;
    visitAll();
    checkSteps();
  }

  SchemaSize size() const {
    SchemaSize size = widest_;
    size.stackNeed = kStackBase + longestChain_ * kStackOfLink + deepestNesting_ * kStackOfNesting +
                     total_ * kStackOfPart;
    return size;
  }

 private:
  struct Size {
    std::size_t parts = 0;
    double positions = 0;
  };
  struct Frame {
    const Components::value_type* component;
    std::vector<const ComponentUse*> uses = {};
    std::size_t next = 0;
    Size size = {};
    std::size_t nesting = 0;
  };

  void visitAll() {
    for (const auto& component : components_) {
      if (!sizes_.contains(component.first)) visit(component);
    }
  }

  void visit(const Components::value_type& start) {
    open(start);
    while (!stack_.empty()) {
      Frame& frame = stack_.back();
      if (frame.next < frame.uses.size()) {
        use(frame, *frame.uses[frame.next]);
      } else {
        close();
      }
    }
  }

  void open(const Components::value_type& component) {
    Frame frame{&component};
    for (const ComponentScan* scan : component.second.scans) {
      frame.size.parts += 1 + scan->parts;
      frame.size.positions += scan->positions;
      frame.nesting = std::max(frame.nesting, scan->nesting);
      for (const ComponentUse& use : scan->uses) {
        if (use.isCopied || !copiesOnly_) frame.uses.push_back(&use);
      }
    }
    nesting_ += frame.nesting;
    if (stack_.size() == kChainLimit || nesting_ > kNestingLimit) {
      refuse(component, "components refer to one another in too long a chain");
    }
    sizes_[component.first] = {};
    stack_.push_back(std::move(frame));
    longestChain_ = std::max(longestChain_, stack_.size());
    deepestNesting_ = std::max(deepestNesting_, nesting_);
  }

  // What is not known yet is opened first and met again when it is closed.
  void use(Frame& frame, const ComponentUse& used) {
    const auto known = sizes_.find(used.name);
    const auto component = components_.find(used.name);
    if (known == sizes_.end() && component != components_.end()) return open(*component);
    ++frame.next;
    if (!copiesOnly_ || known == sizes_.end()) return;
    frame.size.parts = std::min(frame.size.parts + known->second.parts, kSizeLimit + 1);
    frame.size.positions += used.times * known->second.positions;
  }

  void close() {
    const Frame& frame = stack_.back();
    if (copiesOnly_) {
      sizes_[frame.component->first] = frame.size;
      total_ += frame.size.parts;
      notePositions(*frame.component, frame.size.positions);
      closed_.push_back(frame.component);
      if (total_ > kSizeLimit) {
        refuse(*frame.component,
               "groups and derived types unfold to more than 400000 components, particles, "
               "attributes and values");
      }
    }
    nesting_ -= frame.nesting;
    stack_.pop_back();
  }

  void notePositions(const Components::value_type& component, double positions) {
    widest_.allPositions += positions;
    if (positions <= widest_.positions) return;
    widest_.positions = positions;
    widest_.document = component.second.document;
    widest_.place = component.second.scans.back()->place;
  }

  // What is copied was closed before what copies it: backwards, each has all its copies when it is
  // reached.
  void checkSteps() {
    std::map<ComponentName, double> copies;
    std::array<double, kElementLists> lists{};
    double steps = 0;
    for (auto entry = closed_.rbegin(); entry != closed_.rend(); ++entry) {
      const double count = copies[(*entry)->first] += 1;
      for (const ComponentScan* scan : (*entry)->second.scans) {
        for (const ComponentUse& use : scan->uses) {
          if (use.isCopied) copies[use.name] += count;
        }
        for (const std::uint8_t list : scan->elementLists) {
          steps += count * (lists[list] + count / 2);
          lists[list] += count;
        }
      }
      if (steps > kStepLimit) {
        refuse(**entry, "the schema declares too many elements of too few names");
      }
    }
  }

  Components components_;
  std::map<ComponentName, Size> sizes_;
  std::vector<Frame> stack_;
  std::vector<const Components::value_type*> closed_;
  bool copiesOnly_ = false;
  std::size_t nesting_ = 0;  // of all on the stack
  std::size_t longestChain_ = 0;
  std::size_t deepestNesting_ = 0;
  std::size_t total_ = 0;
  SchemaSize widest_;  // what of it is known
};

void checkPatterns(const std::vector<SchemaDocument>& documents) {
  std::uint64_t steps = 0;
  for (const SchemaDocument& document : documents) {
    for (const PatternScan& pattern : document.scan.patterns) {
      steps += pattern.steps;
      if (steps <= kPatternLimit) continue;
      refuseFile(document.path, pattern.place,
                 "the patterns of the schema unfold to more than " + std::to_string(kPatternLimit) +
                     " steps");
    }
  }
}

}  // namespace

SchemaSize checkSchemaSize(const std::vector<SchemaDocument>& documents) {
  checkPatterns(documents);
  SizeCheck check(documents);
  check.run();
  return check.size();
}

}  // namespace cpi
