#include "bench/support/plan.h"

#include <algorithm>
#include <random>
#include <set>
#include <sstream>

namespace cpi::bench {

namespace {

// One type a line, "Type = Member Member? Member*:Type": ? optional, * repeated and optional, + at
// least once; the type of a member is the one after the colon, or that of its name, or text. A type
// whose members are divided by | is a choice.
constexpr std::string_view kNarrow = R"(
Payments = Initiation
Initiation = Header Instruction+
Header = MessageId Created Count Total? Initiator:Party
Party = Name? Address? Identity? Country? Contact?
Address = Kind? Department? Street? Building? PostCode? Town? Region? Country? Line*
Identity = Organisation | Person
Organisation = Bic? Other:Scheme*
Person = Birth? Other:Scheme*
Birth = Date Province? City Country
Scheme = Id SchemeName:Code? Issuer?
Code = Known | Own
Contact = Prefix? Name? Phone? Mobile? Fax? Mail? Other?
Instruction = InstructionId Method Batch? Count? Total? Kind:PaymentKind? Requested Debtor:Party DebtorAccount:Account DebtorAgent:Agent Ultimate:Party? Bearer? Transfer+
PaymentKind = Priority? Service:Code? Local:Code? Purpose:Code?
Account = Id:AccountId Kind:Code? Currency? Name?
AccountId = Iban | Other:Scheme
Agent = Institution Branch?
Institution = Bic? Clearing? Name? Address? Other:Scheme?
Clearing = System:Code? Member
Branch = Id? Name? Address?
Transfer = Ids:TransferIds Kind:PaymentKind? Amount Rate? Bearer? Cheque? Ultimate:Party? Agent:Agent? Creditor:Party CreditorAccount:Account? Purpose:Code? Regulation* Tax? Remittance?
TransferIds = Instruction:Text? EndToEnd
Amount = Instructed | Equivalent
Equivalent = Amount:Text Currency
Rate = Unit? Kind? Value?
Cheque = Kind? Number? From? Delivery:Code? Sign*
Regulation = Indicator? Authority:Party? Detail*
Tax = Creditor:Party? Debtor:Party? Zone? Reference? Method? Total? Date? Number?
Remittance = Free* Structured*
Structured = Document:Invoice* Amount:Settled? Creditor:Reference? Invoicer:Party? Invoicee:Party? More*
Invoice = Kind:Code? Number? Date?
Settled = Due? Discount? Credit? Tax:Text? Remitted?
Reference = Kind:Code? Number?
)";

PlanMember memberOf(std::string text) {
  PlanMember member;
  const auto takeMark = [&](char mark) {
    if (text.back() != mark) return false;
    text.pop_back();
    return true;
  };
  const bool isMaybe = takeMark('?');
  const bool isMany = takeMark('*');
  member.isRepeated = takeMark('+') || isMany;
  member.isOptional = isMaybe || isMany;
  member.name = text;
  return member;
}

int typeNamed(const std::vector<PlanType>& types, std::string_view name) {
  const auto found = std::ranges::find(types, name, &PlanType::name);
  return found == types.end() ? -1 : static_cast<int>(found - types.begin());
}

PlanType typeOf(const std::string& line) {
  std::istringstream words(line);
  PlanType type;
  std::string word;
  words >> type.name >> word;  // '='
  while (words >> word) {
    if (word == "|") type.isChoice = true;
    else type.members.push_back(memberOf(word));
  }
  return type;
}

void resolve(Plan& plan) {
  for (PlanType& type : plan.types) {
    for (PlanMember& member : type.members) {
      const std::size_t colon = member.name.find(':');
      const std::string typeName = member.name.substr(colon == std::string::npos ? 0 : colon + 1);
      member.name.resize(std::min(colon, member.name.size()));
      member.type = typeNamed(plan.types, typeName);
    }
  }
}

std::string numbered(const char* name, std::size_t number) { return name + std::to_string(number); }

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

Plan narrowPlan() {
  Plan plan{.name = "Document", .types = {}};
  std::istringstream lines{std::string(kNarrow)};
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) plan.types.push_back(typeOf(line));
  }
  resolve(plan);
  return plan;
}

// Each aggregate has about forty members, one in four of them another aggregate further down the
// list; the last fifth has texts alone, so that every message ends.
Plan widePlan() {
  constexpr std::size_t kTypes = 120;
  constexpr std::size_t kTexts = 400;
  constexpr std::size_t kMembers = 40;
  Plan plan{.name = "Invoice", .types = {}, .isByReference = true};
  std::mt19937 random(4);
  for (std::size_t i = 0; i < kTypes; ++i) {
    PlanType type{.name = i == 0 ? "Invoice" : numbered("Aggregate", i), .members = {}};
    for (std::size_t j = 0; j < kMembers; ++j) {
      const bool isText = j % 4 != 3 || i + 30 > kTypes;
      // Each j has ten texts and two aggregates of its own: no two members have one name.
      const std::size_t text = (i * 7 + j * (kTexts / kMembers) + random() % 10) % kTexts;
      const std::size_t target = i + 1 + j / 4 * 2 + random() % 2;
      PlanMember member;
      member.name = isText ? numbered("Text", text) : numbered("Aggregate", target);
      member.type = isText ? -1 : static_cast<int>(target);
      member.isOptional = j > 0;
      member.isRepeated = j % 8 == 7;
      type.members.push_back(member);
    }
    plan.types.push_back(type);
  }
  return plan;
}

Plan choicePlan(std::size_t members) {
  PlanType type{.name = "Choice", .members = {}, .isChoice = true, .isRepeated = true};
  for (std::size_t i = 0; i < members; ++i) type.members.push_back({numbered("Alternative", i)});
  return {.name = "Document", .types = {type}};
}

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
