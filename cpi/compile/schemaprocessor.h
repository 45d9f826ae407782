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

#include "cpi/compile/notice.h"
#include "cpi/compile/schemadocuments.h"
#include "cpi/compile/xsdcompiler.h"

namespace cpi {

class SchemaProcessor {
 public:
  // Processes the first `rootCount` documents with what they refer to. Throws FileError when the
  // schema is not valid, listing the processor's errors with file, line and column. What may be an
  // error or not is left to doubts().
  SchemaProcessor(const SchemaDocuments& documents, std::size_t rootCount, SchemaChecking checking);
  ~SchemaProcessor();
  SchemaProcessor(const SchemaProcessor&) = delete;
  SchemaProcessor& operator=(const SchemaProcessor&) = delete;

  // Valid as long as this object.
  xercesc::XSModel& model() const noexcept { return *model_; }
  // What SchemaChecking::Standard does not refuse, in the order met.
  const std::vector<Notice>& doubts() const noexcept { return doubts_; }

 private:
  std::unique_ptr<xercesc::XMLGrammarPool> pool_;
  xercesc::XSModel* model_ = nullptr;  // the pool's
  std::vector<Notice> doubts_;
};

}  // namespace cpi

#endif  // CPI_COMPILE_SCHEMAPROCESSOR_H
