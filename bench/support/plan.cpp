// A plan's schema, and messages of it.
#include "bench/support/plan.h"

#include <algorithm>
#include <random>
#include <set>
#include <sstream>

namespace cpi::bench {

namespace {

// Which namespace, and so which document, an element of a plan by reference belongs to.
enum class Part { Root, Aggregate, Basic };
Part partOf(const PlanMember& member) { return member.type < 0 ? Part::Basic : Part::Aggregate; }
const char* prefixOf(Part part) {
  constexpr const char* kPrefixes[] = {"r:", "a:", "b:"};
  return kPrefixes[static_cast<std::size_t>(part)];
}
constexpr const char* kNamespaces =
    " xmlns:r=\"urn:bench:root\" xmlns:a=\"urn:bench:aggregate\" xmlns:b=\"urn:bench:basic\"";

class SchemaWriter {
 public:
  explicit SchemaWriter(const Plan& plan) : plan_(plan) {}

  std::string local() {
    open("root");
    out_ << "<xs:element name=\"" << plan_.name << "\" type=\"r:" << plan_.types[0].name
         << "\"/>\n";
    for (const PlanType& type : plan_.types) complexType(type);
    return close();
  }
  std::string root() {
    open("root");
    import("aggregate");
    import("basic");
    out_ << "<xs:element name=\"" << plan_.name << "\" type=\"r:" << plan_.types[0].name
         << "\"/>\n";
    complexType(plan_.types[0]);
    return close();
  }
  std::string aggregates() {
    open("aggregate");
    import("basic");
    for (std::size_t i = 1; i < plan_.types.size(); ++i) {
      const std::string& name = plan_.types[i].name;
      out_ << "<xs:element name=\"" << name << "\" type=\"a:" << name << "\"/>\n";
      complexType(plan_.types[i]);
    }
    return close();
  }
  std::string basics() {
    open("basic");
    std::set<std::string> names;
    for (const PlanType& type : plan_.types) {
      for (const PlanMember& member : type.members) {
        if (partOf(member) == Part::Basic) names.insert(member.name);
      }
    }
    for (const std::string& name : names) {
      out_ << "<xs:element name=\"" << name << "\" type=\"xs:string\"/>\n";
    }
    return close();
  }

 private:
  void open(const char* part) {
    out_.str("");
    out_ << "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\"" << kNamespaces
         << " targetNamespace=\"urn:bench:" << part << "\" elementFormDefault=\"qualified\">\n";
  }
  std::string close() {
    out_ << "</xs:schema>\n";
    return out_.str();
  }
  void import(const char* part) {
    out_ << "<xs:import namespace=\"urn:bench:" << part << "\" schemaLocation=\"" << part
         << ".xsd\"/>\n";
  }
  void complexType(const PlanType& type) {
    const char* const group = type.isChoice ? "choice" : "sequence";
    out_ << "<xs:complexType name=\"" << type.name << "\"><xs:" << group
         << (type.isRepeated ? " maxOccurs=\"unbounded\"" : "") << ">\n";
    for (const PlanMember& member : type.members) particle(member);
    out_ << "</xs:" << group << "></xs:complexType>\n";
  }
  void particle(const PlanMember& member) {
    out_ << " <xs:element ";
    if (plan_.isByReference) {
      out_ << "ref=\"" << prefixOf(partOf(member)) << member.name << '"';
    } else {
      out_ << "name=\"" << member.name << "\" type=\""
           << (member.type < 0 ? "xs:string"
                               : "r:" + plan_.types[static_cast<std::size_t>(member.type)].name)
           << '"';
    }
    if (member.isOptional) out_ << " minOccurs=\"0\"";
    if (member.isRepeated) out_ << " maxOccurs=\"unbounded\"";
    out_ << "/>\n";
  }

  const Plan& plan_;
  std::ostringstream out_;
};

class MessageWriter {
 public:
  MessageWriter(const Plan& plan, std::size_t elements) : plan_(plan), wanted_(elements) {}

  std::string message() {
    const std::string root = "r:" + plan_.name;
    out_ << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" << root << kNamespaces << ">\n";
    ++written_;
    content(plan_.types[0], 0);
    out_ << "</" << root << ">\n";
    return out_.str();
  }

 private:
  void content(const PlanType& type, int depth) {
    if (type.isChoice) {
      do {
        element(type.members[random_() % type.members.size()], depth);
      } while (type.isRepeated && written_ < wanted_);
      return;
    }
    for (const PlanMember& member : type.members) occurrences(member, depth);
  }
  // The repeated members near the root bring a message to its length.
  void occurrences(const PlanMember& member, int depth) {
    if (member.isRepeated && depth <= 1) {
      do {
        element(member, depth);
      } while (written_ < wanted_);
      return;
    }
    if (member.isOptional && !isTaken(member, depth)) return;
    const auto count = member.isRepeated ? 1 + random_() % 2 : 1;
    for (auto i = count; i > 0; --i) element(member, depth);
  }
  bool isTaken(const PlanMember& member, int depth) {
    const unsigned one =
        member.type < 0 ? 4 : static_cast<unsigned>(4 + 4 * std::max(0, depth - 2));
    return depth < 8 && random_() % one == 0;
  }
  void element(const PlanMember& member, int depth) {
    ++written_;
    const std::string name = (plan_.isByReference ? prefixOf(partOf(member)) : "r:") + member.name;
    out_ << std::string(static_cast<std::size_t>(depth) + 1, ' ') << '<' << name << '>';
    if (member.type < 0) {
      out_ << "Text " << written_;
    } else {
      out_ << '\n';
      content(plan_.types[static_cast<std::size_t>(member.type)], depth + 1);
    }
    out_ << "</" << name << ">\n";
  }

  const Plan& plan_;
  std::size_t wanted_;
  std::size_t written_ = 0;
  std::mt19937 random_{3};
  std::ostringstream out_;
};

}  // namespace

std::string writeSchema(const Plan& plan, const TemporaryDirectory& directory) {
  SchemaWriter writer(plan);
  if (!plan.isByReference) return directory.write("root.xsd", writer.local());
  directory.write("aggregate.xsd", writer.aggregates());
  directory.write("basic.xsd", writer.basics());
  return directory.write("root.xsd", writer.root());
}

std::string messageOf(const Plan& plan, std::size_t elements) {
  return MessageWriter(plan, elements).message();
}

}  // namespace cpi::bench
