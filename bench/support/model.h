// A message model with a message: what the walks and their peers work on.
#ifndef BENCH_SUPPORT_MODEL_H
#define BENCH_SUPPORT_MODEL_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bench/support/directory.h"
#include "bench/support/plan.h"
#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "cpi/extract/dictionarytables.h"
#include "cpi/walk/walkmodel.h"

namespace cpi::bench {

// One element of the message, as a parser would have it looked for.
struct Step {
  std::int32_t leaves;  // elements around the one before that end in front of this one
  bool isFirstChild;
  bool isLeaf = true;  // nothing inside
  std::int32_t tagId;
  const unsigned short* name;  // equal names have one address, as a parser that interns has it
  KelStringBase namespaceURI;  // equal ones share their text
  std::int32_t memberIndex;    // where it belongs; a sentinel for what is no member
  std::int32_t typeIndex;
};

// The one copy of a name that steps refer to; lives as long as the program.
const unsigned short* internedName(const std::u16string& name);

class Model {
 public:
  // The plan's schema, and a message of about `elements` elements.
  Model(const Plan& plan, std::size_t elements);
  // A schema that others wrote and a message of it, valid both.
  Model(const std::string& schemaPath, std::string message);
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  const std::string& schemaPath() const noexcept { return schemaPath_; }
  const std::string& message() const noexcept { return message_; }
  const DictionaryTables& tables() const noexcept { return tables_; }
  const StdDictionaryInfo& dictionary() const noexcept { return dictionary_; }
  const WalkModel& walkModel() const noexcept { return *walkModel_; }
  // The message's elements in document order, the root first.
  const std::vector<Step>& steps() const noexcept { return steps_; }
  std::int64_t elements() const noexcept { return static_cast<std::int64_t>(steps_.size()); }
  // Rows of Tags, Type Members and Types: what "a definition" means in the figures.
  std::int64_t definitions() const noexcept;

 private:
  void compile();
  void recordSteps();

  std::optional<TemporaryDirectory> directory_;  // of the schema, when it is ours
  std::string schemaPath_;
  std::string message_;
  DictionaryTables tables_;
  StdDictionaryInfo dictionary_{0};
  std::unique_ptr<WalkModel> walkModel_;
  std::vector<Step> steps_;
};

// A model by its name in the benchmarks. It is made at the first call and kept.
struct NamedModel {
  std::string name;
  std::function<const Model&()> model;
};
// Payment and invoice, our own; of the corpus, when it is there, pain001 and ubl.
std::span<const NamedModel> messageModels();
const Model& paymentModel();
const Model& invoiceModel();
// Repeated choices of that many members, as "choice100".
NamedModel choiceModel(std::size_t members);

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_MODEL_H
