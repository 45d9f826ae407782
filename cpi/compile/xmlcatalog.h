// XmlCatalog: the local files that stand for locations elsewhere, from an OASIS XML catalog.
//
// Understood are system, public, uri, rewriteSystem, rewriteURI, group and xml:base; nextCatalog
// and delegates are not followed. Thread rule: `const` means safe to share.
#ifndef CPI_COMPILE_XMLCATALOG_H
#define CPI_COMPILE_XMLCATALOG_H

#include <map>
#include <optional>
#include <string>

namespace cpi {

// How a location in a document is to be read: what it names on this machine, if anything.
// `base` is the path of the document in which it stands. Percent escapes are decoded. Nothing for
// a location with a scheme other than file. Never looks at the disk.
std::optional<std::string> localPath(const std::string& location, const std::string& base);

class XmlCatalog {
 public:
  XmlCatalog() = default;
  // Reads the catalog at `path`. Throws FileError when it cannot be read or is no catalog.
  explicit XmlCatalog(const std::string& path);

  // The local path that the catalog gives for a location, a namespace or a public identifier.
  std::optional<std::string> resolve(const std::string& identifier) const;

 private:
  friend class CatalogHandler;

  std::map<std::string, std::string> entries_;
  std::map<std::string, std::string> prefixes_;
};

}  // namespace cpi

#endif  // CPI_COMPILE_XMLCATALOG_H
