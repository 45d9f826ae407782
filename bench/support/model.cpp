#include "bench/support/model.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "bench/support/kept.h"
#include "cpi/compile/xsdcompiler.h"
#include "cpi/walk/xmlwalker.h"

namespace cpi::bench {

namespace {

// Long enough to make a parser's start and end small beside its elements.
constexpr std::size_t kMessageElements = 5'000;

const KelStringBase& internedUri(const std::string& uri) {
  return kept(uri, [&] { return KelStringBase::fromUtf8(uri); });
}

class StepRecorder : public WalkVisitor {
 public:
  void element(const WalkedElement& element) override {
    if (element.tag == nullptr) throw std::runtime_error("no tag for " + std::string(element.name));
    const bool isFirstChild = element.depth > depth_;
    if (isFirstChild && !steps.empty()) steps.back().isLeaf = false;
    steps.push_back({.leaves = isFirstChild ? 0 : depth_ - element.depth,
                     .isFirstChild = isFirstChild,
                     .tagId = element.tag->Id,
                     .name = internedName(toUtf16(element.name)),
                     .namespaceURI = internedUri(std::string(element.namespaceURI)),
                     .memberIndex = element.verdict.memberIndex,
                     .typeIndex = element.verdict.typeIndex});
    depth_ = element.depth;
  }

  std::vector<Step> steps;

 private:
  std::int32_t depth_ = -1;
};

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The message with the element that stands between the texts repeated, up to some length.
std::string lengthened(const std::string& message, const std::string& start,
                       const std::string& end) {
  constexpr std::size_t kBytes = 300'000;
  const std::size_t first = message.find(start);
  const std::size_t last = message.find(end);
  if (first == std::string::npos || last == std::string::npos) {
    throw std::runtime_error("the message has no " + start);
  }
  const std::string part = message.substr(first, last + end.size() - first);
  std::string parts;
  while (parts.size() < kBytes) parts += part;
  return message.substr(0, first) + parts + message.substr(first);
}

std::string corpus(const char* path) { return std::string(STDDI_SHARED_DIR "/corpus/") + path; }

const Model& painModel() {
  static const Model model(
      corpus("iso20022/pain001/pain.001.001.03/pain.001.001.03.xsd"),
      lengthened(contentsOf(corpus("iso20022/pain001/pain.001.001.03/pain.001.001.03.xml")),
                 "<CdtTrfTxInf>", "</CdtTrfTxInf>"));
  return model;
}

const Model& ublModel() {
  static const Model model(corpus("ubl/xsdrt/maindoc/UBL-Order-2.5.xsd"),
                           lengthened(contentsOf(corpus("ubl/xml/UBL-Order-2.1-Example.xml")),
                                      "<cac:OrderLine>", "</cac:OrderLine>"));
  return model;
}

std::vector<NamedModel> listModels() {
  std::vector<NamedModel> models = {{"payment", paymentModel}, {"invoice", invoiceModel}};
  if (std::filesystem::exists(corpus("iso20022")) && std::filesystem::exists(corpus("ubl"))) {
    models.push_back({"pain001", painModel});
    models.push_back({"ubl", ublModel});
  } else {
    std::fprintf(stderr, "bench: SKIPPED pain001 and ubl: there is no corpus in %s\n",
                 STDDI_SHARED_DIR);
  }
  return models;
}

}  // namespace

const unsigned short* internedName(const std::u16string& name) {
  return asUnits(kept(name, [&] { return name; }).c_str());
}

Model::Model(const Plan& plan, std::size_t elements)
    : directory_(std::in_place),
      schemaPath_(writeSchema(plan, *directory_)),
      message_(messageOf(plan, elements)) {
  compile();
}

Model::Model(const std::string& schemaPath, std::string message)
    : schemaPath_(schemaPath), message_(std::move(message)) {
  compile();
}

void Model::compile() {
  XsdReport report;
  tables_ = compileXsd({schemaPath_}, {}, report);
  feed(tables_, dictionary_);
  walkModel_ = std::make_unique<WalkModel>(dictionary_);
  recordSteps();
}

void Model::recordSteps() {
  StepRecorder recorder;
  const WalkSummary summary =
      XmlWalker(*walkModel_).walkText(message_, "message of " + schemaPath_, &recorder);
  if (!summary.isAllPlaced()) throw std::runtime_error("not valid by " + schemaPath_);
  steps_ = std::move(recorder.steps);
}

std::int64_t Model::definitions() const noexcept {
  return static_cast<std::int64_t>(tables_.Tags.size() + tables_.TypeMembers.size() +
                                   tables_.Types.size());
}

std::span<const NamedModel> messageModels() {
  static const std::vector<NamedModel> models = listModels();
  return models;
}

const Model& paymentModel() {
  static const Model model(narrowPlan(), kMessageElements);
  return model;
}

const Model& invoiceModel() {
  static const Model model(widePlan(), kMessageElements);
  return model;
}

NamedModel choiceModel(std::size_t members) {
  return {"choice" + std::to_string(members), [=]() -> const Model& {
            return *kept(members, [=] {
              return std::make_unique<const Model>(choicePlan(members), kMessageElements);
            });
          }};
}

}  // namespace cpi::bench
