// A schema as libxml2 compiles it.
#ifndef BENCH_PEERS_LIBXML2_SCHEMA_H
#define BENCH_PEERS_LIBXML2_SCHEMA_H

#include <libxml/xmlschemas.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace cpi::bench {

using XmlSchema = std::unique_ptr<xmlSchema, decltype(&xmlSchemaFree)>;

inline XmlSchema parseXmlSchema(const std::string& path) {
  const std::unique_ptr<xmlSchemaParserCtxt, decltype(&xmlSchemaFreeParserCtxt)> parser(
      xmlSchemaNewParserCtxt(path.c_str()), &xmlSchemaFreeParserCtxt);
  XmlSchema schema(xmlSchemaParse(parser.get()), &xmlSchemaFree);
  if (schema == nullptr) throw std::runtime_error("libxml2 refuses " + path);
  return schema;
}

}  // namespace cpi::bench

#endif  // BENCH_PEERS_LIBXML2_SCHEMA_H
