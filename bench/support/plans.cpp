// The plans.
#include <algorithm>
#include <random>
#include <sstream>

#include "bench/support/plan.h"

namespace cpi::bench {

namespace {

// One type a line, "Type = Member Member? Member*:Type": ? optional, * repeated and optional, + at
// least once; the type of a member is the one after the colon, or that of its name, or text. A type
// whose members are divided by | is a choice. A line that begins with a blank goes
// on the one above.
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
Instruction = InstructionId Method Batch? Count? Total? Kind:PaymentKind? Requested Debtor:Party
 DebtorAccount:Account DebtorAgent:Agent Ultimate:Party? Bearer? Transfer+
PaymentKind = Priority? Service:Code? Local:Code? Purpose:Code?
Account = Id:AccountId Kind:Code? Currency? Name?
AccountId = Iban | Other:Scheme
Agent = Institution Branch?
Institution = Bic? Clearing? Name? Address? Other:Scheme?
Clearing = System:Code? Member
Branch = Id? Name? Address?
Transfer = Ids:TransferIds Kind:PaymentKind? Amount Rate? Bearer? Cheque? Ultimate:Party?
 Agent:Agent? Creditor:Party CreditorAccount:Account? Purpose:Code? Regulation* Tax? Remittance?
TransferIds = Instruction:Text? EndToEnd
Amount = Instructed | Equivalent
Equivalent = Amount:Text Currency
Rate = Unit? Kind? Value?
Cheque = Kind? Number? From? Delivery:Code? Sign*
Regulation = Indicator? Authority:Party? Detail*
Tax = Creditor:Party? Debtor:Party? Zone? Reference? Method? Total? Date? Number?
Remittance = Free* Structured*
Structured = Document:Invoice* Amount:Settled? Creditor:Reference? Invoicer:Party?
 Invoicee:Party? More*
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

void addLine(std::vector<PlanType>& types, const std::string& line) {
  std::istringstream words(line);
  std::string word;
  if (line.front() != ' ') {
    words >> types.emplace_back().name >> word;  // '='
  }
  PlanType& type = types.back();
  while (words >> word) {
    if (word == "|") type.isChoice = true;
    else type.members.push_back(memberOf(word));
  }
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

}  // namespace

Plan narrowPlan() {
  Plan plan{.name = "Document", .types = {}};
  std::istringstream lines{std::string(kNarrow)};
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) addLine(plan.types, line);
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

}  // namespace cpi::bench
