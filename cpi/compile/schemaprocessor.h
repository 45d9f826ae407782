// SchemaProcessor: the components of a schema, as the schema processor resolved them.
//
// Include, import, redefinition, derivation and substitution groups are the processor's business;
// it reads its documents from SchemaDocuments and from nowhere else.
#ifndef CPI_COMPILE_SCHEMAPROCESSOR_H
#define CPI_COMPILE_SCHEMAPROCESSOR_H

#include <memory>
#include <vector>
#include <xercesc/framework/XMLGrammarPool.hpp>
#include <xercesc/framework/psvi/XSModel.hpp>

#include "cpi/compile/schemadocuments.h"

namespace cpi {

class SchemaProcessor {
 public:
  // Processes the first `rootCount` documents with what they refer to. Throws FileError when the
  // schema is not valid, listing the processor's errors with file, line and column.
  SchemaProcessor(const SchemaDocuments& documents, std::size_t rootCount, bool fullChecking);
  ~SchemaProcessor();
  SchemaProcessor(const SchemaProcessor&) = delete;
  SchemaProcessor& operator=(const SchemaProcessor&) = delete;

  // Valid as long as this object.
  xercesc::XSModel& model() const noexcept { return *model_; }

 private:
  std::unique_ptr<xercesc::XMLGrammarPool> pool_;
  xercesc::XSModel* model_ = nullptr;  // the pool's
};

}  // namespace cpi

#endif  // CPI_COMPILE_SCHEMAPROCESSOR_H
