// stddict compile: from XML schemas, or FIX data dictionaries, to a dictionary file.
#include <fmt/core.h>
#include <fmt/ostream.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cpi/compile/fixcompiler.h"
#include "cpi/compile/xsdcompiler.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/dictionarytables.h"
#include "cpi/extract/extractwriter.h"
#include "tools/stddict/outputfile.h"
#include "tools/stddict/terminal.h"
#include "tools/stddict/verbs.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict compile order.xsd -o order.json
  stddict compile invoice.xsd creditnote.xsd --name billing -o billing.json
  stddict compile bom.xsd --catalog catalog.xml -o bom.json
  stddict compile FIX44.xml -o fix44.json
  stddict compile FIXT11.xml FIX50.xml -o fix50.json

Schemas that others include or import need not be named. Locations on the network are never
fetched: they are files beside the schema or in an include root, or an XML catalog says which local
file stands for which location. What a dictionary cannot express (identity constraints, for
example) is listed as warnings.
FIX data dictionaries are known by their root element, fix. One of the session layer is compiled
together with one of the application layer.)";

const std::map<std::string, cpi::SchemaChecking> kCheckings = {
    {"basic", cpi::SchemaChecking::Basic},
    {"standard", cpi::SchemaChecking::Standard},
    {"full", cpi::SchemaChecking::Full},
};

struct Options {
  std::vector<std::string> schemas;
  std::string output;
  cpi::XsdOptions xsd;
};

void warn(const cpi::Notice& notice) {
  const std::string place =
      notice.file.empty() ? "" : fmt::format("{}:{}:{}: ", notice.file, notice.line, notice.column);
  const std::string times = notice.count == 1 ? "" : fmt::format(" ({} times)", notice.count);
  spdlog::warn("{}{}{}", place, notice.text, times);
}

// The notices are worth as much when the compiler gives up.
template <class Report, class Compiler>
cpi::DictionaryTables compileWith(const Compiler& compiler) {
  Report report;
  const auto warnAll = [](const Report* all) {
    for (const cpi::Notice& notice : all->notices) warn(notice);
  };
  const std::unique_ptr<const Report, decltype(warnAll)> atExit(&report, warnAll);
  return compiler(report);
}

cpi::DictionaryTables compile(const Options& options) {
  if (cpi::isFixDictionary(options.schemas.front())) {
    return compileWith<cpi::FixReport>([&options](cpi::FixReport& report) {
      return cpi::compileFix(options.schemas, {options.xsd.name}, report);
    });
  }
  return compileWith<cpi::XsdReport>([&options](cpi::XsdReport& report) {
    return cpi::compileXsd(options.schemas, options.xsd, report);
  });
}

void run(const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  const Progress progress("compiling " + options.schemas.front());
  const cpi::DictionaryTables tables = compile(options);
  cpi::StdDictionaryInfo dictionary(0);
  cpi::feed(tables, dictionary);
  OutputFile output(options.output);
  cpi::writeExtract(dictionary, output.stream());
  output.commit();
  if (!output.isFile()) return;
  const auto time = std::chrono::steady_clock::now() - start;
  fmt::print("{}: {} tags, {} types, {} members, {} ms\n", options.output,
             dictionary.tags().rowCount(), dictionary.types().rowCount(),
             dictionary.typeMembers().rowCount(),
             std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

}  // namespace

void addCompile(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("compile", "Compile XML schemas or FIX data dictionaries");
  verb.footer(kFooter);
  const auto options = std::make_shared<Options>();
  verb.add_option("SCHEMA", options->schemas,
                  "Schema documents (XSD 1.0), or FIX data dictionaries")
      ->required()
      ->type_name("FILE");
  verb.add_option("-o,--output", options->output, "The dictionary file to write")
      ->required()
      ->type_name("FILE");
  verb.add_option("--catalog", options->xsd.catalog, "XML catalog of schema locations")
      ->type_name("FILE");
  verb.add_option("--include-root", options->xsd.includeRoots,
                  "Directory in which relative schema locations are looked up, too; repeatable")
      ->type_name("DIR")
      ->allow_extra_args(false);
  verb.add_option("--checking", options->xsd.checking,
                  "How strictly schemas are checked: basic, standard, full (slow when large)")
      ->transform(CLI::CheckedTransformer(kCheckings).description(""))
      ->default_str("standard")
      ->type_name("LEVEL");
  verb.add_option("--name", options->xsd.name, "Name of the dictionary; by default the schema's")
      ->type_name("NAME");
  verb.callback([options, &exitCode] {
    run(*options);
    exitCode = kExitGood;
  });
}
