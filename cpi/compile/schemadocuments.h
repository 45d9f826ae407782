// SchemaDocuments: all documents of a schema, found, read and judged before they are processed.
//
// The schema processor asks for each document while it works; by then it is too late to find that
// a document nests too deeply or that its groups unfold without end. So the references are
// followed here first, and the processor gets its documents from here and from nowhere else.
#ifndef CPI_COMPILE_SCHEMADOCUMENTS_H
#define CPI_COMPILE_SCHEMADOCUMENTS_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cpi/compile/notice.h"
#include "cpi/compile/schemascan.h"
#include "cpi/compile/xmlcatalog.h"

namespace cpi {

struct SchemaDocument {
  std::string path;
  std::string bytes;
  SchemaScan scan;
};

// What the processing of the documents takes.
struct SchemaSize {
  std::size_t stackNeed = 0;  // bytes
  // The component of most positions, which are its particles with limits of occurrence multiplied
  // out; full checking builds an automaton of as many states. `document` is null when there is
  // none.
  const SchemaDocument* document = nullptr;
  SchemaPlace place = {};
  double positions = 0;
  double allPositions = 0;  // of all components
};

class SchemaDocuments {
 public:
  // Reads the roots, then what they refer to, breadth first. Throws FileError when a root cannot
  // be read, when any document is not well-formed, and when the schema is beyond a limit.
  // `includeRoots` are directories in which a relative location is looked up when it is not found
  // beside its document.
  SchemaDocuments(const std::vector<std::string>& roots, const XmlCatalog& catalog,
                  const std::vector<std::string>& includeRoots);

  // In the order met, the roots first. Valid as long as this object.
  const std::vector<SchemaDocument>& documents() const noexcept { return documents_; }

  // The document that `location`, as written in the document `base`, names; null when there is
  // none. A reference without location is looked up by `namespaceUri` alone, in the catalog, then
  // among the documents.
  const SchemaDocument* find(const std::optional<std::string>& location,
                             const std::string& namespaceUri, const std::string& base) const;

  const SchemaSize& size() const noexcept { return size_; }

  // References that led nowhere, each with its place.
  const std::vector<Notice>& unresolved() const noexcept { return unresolved_; }

 private:
  std::vector<std::string> candidates(const std::optional<std::string>& location,
                                      const std::string& namespaceUri,
                                      const std::string& base) const;
  const SchemaDocument* lookUp(const std::vector<std::string>& paths) const;
  void add(const std::string& path);
  void follow(std::size_t document, const SchemaReference& reference);

  const XmlCatalog* catalog_;
  std::vector<std::string> includeRoots_;
  std::vector<SchemaDocument> documents_;
  std::map<std::string, std::size_t> indexOfPath_;
  std::vector<Notice> unresolved_;
  SchemaSize size_;
};

// Throws FileError when the components of the documents refer to one another in chains, or unfold
// to sizes, that the processing of the schema would not survive.
SchemaSize checkSchemaSize(const std::vector<SchemaDocument>& documents);

}  // namespace cpi

#endif  // CPI_COMPILE_SCHEMADOCUMENTS_H
