#include "cpi/compile/schemadocuments.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "cpi/compile/sourcefile.h"
#include "cpi/compile/xmltext.h"

namespace cpi {

namespace {

constexpr std::size_t kDocumentLimit = 10'000;
constexpr const char* kNotFound = " is no local file, in no include root and not in the catalog";

// Different ways to write one path must lead to one document.
std::string canonical(const std::string& path) {
  std::error_code error;
  const auto result = std::filesystem::weakly_canonical(path, error);
  return error ? path : result.string();
}

bool isFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

std::string describe(const SchemaReference& reference) {
  if (reference.location) return "schema document \"" + toUtf8(*reference.location) + "\"";
  return "schema of namespace \"" + toUtf8(reference.importedNamespace.value_or(u"")) + "\"";
}

}  // namespace

SchemaDocuments::SchemaDocuments(const std::vector<std::string>& roots, const XmlCatalog& catalog,
                                 const std::vector<std::string>& includeRoots)
    : catalog_(&catalog), includeRoots_(includeRoots) {
  for (const std::string& root : roots) add(canonical(root));
  for (std::size_t i = 0; i < documents_.size(); ++i) {
    const std::vector<SchemaReference> references = documents_[i].scan.references;
    for (const SchemaReference& reference : references) follow(i, reference);
  }
  size_ = checkSchemaSize(documents_);
}

const SchemaDocument* SchemaDocuments::find(const std::optional<std::string>& location,
                                            const std::string& namespaceUri,
                                            const std::string& base) const {
  const SchemaDocument* const found = lookUp(candidates(location, namespaceUri, base));
  if (found != nullptr || location) return found;
  const auto isOfNamespace = [&](const SchemaDocument& document) {
    return toUtf8(document.scan.targetNamespace) == namespaceUri;
  };
  const auto first = std::ranges::find_if(documents_, isOfNamespace);
  return first == documents_.end() ? nullptr : &*first;
}

// The catalog's word counts before the location as it stands: it is there to replace locations.
std::vector<std::string> SchemaDocuments::candidates(const std::optional<std::string>& location,
                                                     const std::string& namespaceUri,
                                                     const std::string& base) const {
  std::vector<std::string> paths;
  const auto append = [&paths](const std::optional<std::string>& path) {
    if (path) paths.push_back(canonical(*path));
  };
  if (location && !location->empty()) {
    append(catalog_->resolve(*location));
    append(localPath(*location, base));
    for (const std::string& root : includeRoots_) append(localPath(*location, root + "/"));
  }
  if (!namespaceUri.empty()) append(catalog_->resolve(namespaceUri));
  return paths;
}

const SchemaDocument* SchemaDocuments::lookUp(const std::vector<std::string>& paths) const {
  for (const std::string& path : paths) {
    if (const auto found = indexOfPath_.find(path); found != indexOfPath_.end()) {
      return &documents_[found->second];
    }
  }
  return nullptr;
}

void SchemaDocuments::add(const std::string& path) {
  if (!indexOfPath_.emplace(path, documents_.size()).second) return;
  if (documents_.size() == kDocumentLimit) {
    refuseFile(path, {}, "the schema has more than 10000 documents");
  }
  SchemaDocument document{path, readSourceFile(path), {}};
  try {
    document.scan = scanSchema(document.bytes, toUtf16(path));
  } catch (const ScanError& error) {
    refuseFile(path, error.place, error.text);
  }
  documents_.push_back(std::move(document));
}

void SchemaDocuments::follow(std::size_t document, const SchemaReference& reference) {
  const std::string base = documents_[document].path;
  std::optional<std::string> location;
  if (reference.location) location = toUtf8(*reference.location);
  const std::string namespaceUri = toUtf8(reference.importedNamespace.value_or(u""));
  for (const std::string& path : candidates(location, namespaceUri, base)) {
    if (indexOfPath_.contains(path)) return;
    if (isFile(path)) return add(path);
  }
  // An import may leave the finding of the schema to its reader; nothing was promised then.
  if (reference.isImport && !reference.location) return;
  if (reference.isRedefine) {
    refuseFile(base, reference.place, describe(reference) + kNotFound + "; it is to be redefined");
  }
  unresolved_.push_back(
      {describe(reference) + kNotFound, base, reference.place.line, reference.place.column, 1});
}

}  // namespace cpi
