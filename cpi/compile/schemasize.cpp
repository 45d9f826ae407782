#include <algorithm>
#include <map>

#include "cpi/compile/schemadocuments.h"
#include "cpi/compile/sourcefile.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

namespace {

// A chain of references, and the nesting inside what it goes through, is as many nested calls in
// the schema processor.
constexpr std::size_t kChainLimit = 1000;
constexpr std::size_t kNestingLimit = 4000;
// Components and particles in all, those counted again that a reference to a group or a derivation
// copies: the processor's tables of them are searched in time that grows with their size.
constexpr std::size_t kSizeLimit = 60'000;

struct Component {
  const SchemaDocument* document = nullptr;
  std::vector<const ComponentScan*> scans;  // of all components of this kind and name
};

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
    for (const auto& [name, component] : components_) {
      if (!sizes_.contains(name)) visit(name);
    }
  }

 private:
  struct Frame {
    const ComponentName* name;
    const Component* component;
    std::vector<const ComponentUse*> uses = {};
    std::size_t next = 0;
    std::size_t size = 0;
    std::size_t nesting = 0;
  };

  void open(const ComponentName& name, const Component& component) {
    Frame frame{&name, &component};
    for (const ComponentScan* scan : component.scans) {
      frame.size += 1 + scan->particles;
      frame.nesting = std::max(frame.nesting, scan->nesting);
      for (const ComponentUse& use : scan->uses) frame.uses.push_back(&use);
    }
    nesting_ += frame.nesting;
    if (stack_.size() == kChainLimit || nesting_ > kNestingLimit) {
      refuse(frame, "components refer to one another in too long a chain");
    }
    sizes_[name] = 0;
    stack_.push_back(std::move(frame));
  }

  void close() {
    const Frame& frame = stack_.back();
    sizes_[*frame.name] = frame.size;
    total_ += frame.size;
    if (total_ > kSizeLimit) {
      refuse(frame, "groups and derived types unfold to more than 60000 components and particles");
    }
    nesting_ -= frame.nesting;
    stack_.pop_back();
  }

  // Goes depth first without recursion. A name that is still open counts nothing: a group that
  // contains itself is an error which the schema processor reports.
  void visit(const ComponentName& start) {
    open(start, components_.at(start));
    while (!stack_.empty()) {
      Frame& frame = stack_.back();
      if (frame.next < frame.uses.size()) {
        use(frame, *frame.uses[frame.next]);
      } else {
        close();
      }
    }
  }

  // What is not known yet is opened first and met again when it is closed.
  void use(Frame& frame, const ComponentUse& used) {
    const auto known = sizes_.find(used.name);
    const auto component = components_.find(used.name);
    if (known == sizes_.end() && component != components_.end()) {
      return open(component->first, component->second);
    }
    ++frame.next;
    if (!used.isCopied || known == sizes_.end()) return;
    frame.size = std::min(frame.size + known->second, kSizeLimit + 1);
  }

  [[noreturn]] static void refuse(const Frame& frame, const std::string& text) {
    const std::string name = toUtf8(frame.name->name);
    refuseFile(frame.component->document->path, {}, text + ", at \"" + name + "\"");
  }

  std::map<ComponentName, Component> components_;
  std::map<ComponentName, std::size_t> sizes_;
  std::vector<Frame> stack_;
  std::size_t nesting_ = 0;  // of all on the stack
  std::size_t total_ = 0;
};

}  // namespace

void checkSchemaSize(const std::vector<SchemaDocument>& documents) { SizeCheck(documents).run(); }

}  // namespace cpi
