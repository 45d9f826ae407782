// stddict dump and stddict convert: a dictionary file as text, and in its other form.
#include <fmt/core.h>

#include <filesystem>
#include <fstream>
#include <system_error>

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/extract/dictionaryfile.h"
#include "cpi/extract/extractwriter.h"
#include "cpi/extract/image.h"
#include "tools/stddict/fileform.h"
#include "tools/stddict/outputfile.h"
#include "tools/stddict/terminal.h"
#include "tools/stddict/verbs.h"

namespace {

constexpr const char* kDumpFooter = R"(Examples:
  stddict dump order.json
  stddict dump order.image >order.txt

Every table, row by row, under the numbers of its columns. A dictionary with a value of unknown kind
ends the report: `stddict check` tells which it is.)";

constexpr const char* kConvertFooter = R"(Examples:
  stddict convert order.json order.image
  stddict convert order.image order.json
  stddict convert order.json tidy.json --to extract

An extract is text: for people, for version control and for other machines. An image opens faster;
its form depends on the machine. Names of files say nothing: the form is told by the first byte.)";

constexpr const char* kExtract = "extract";
constexpr const char* kImage = "image";

struct Options {
  std::string dictionary;
  std::string output;
  std::string form;
};

void runDump(const Options& options) {
  openDictionary(options.dictionary)->DumpContents(stdout);
  finishOutput();
}

std::string outputForm(const Options& options) {
  if (!options.form.empty()) return options.form;
  const std::string form = fileFormOf(options.dictionary);
  if (form.empty() && std::filesystem::exists(options.dictionary)) {
    throw cpi::FileError(options.dictionary, {}, "no regular file to tell the form of",
                         "--to extract or --to image");
  }
  return form == kImage ? kExtract : kImage;
}

void runConvert(const Options& options) {
  const std::string form = outputForm(options);
  const auto dictionary = openDictionary(options.dictionary);
  const Progress progress("writing " + options.output);
  OutputFile output(options.output);
  if (form == kImage) {
    cpi::writeImage(*dictionary, output.stream());
  } else {
    cpi::writeExtract(*dictionary, output.stream());
  }
  const auto size = static_cast<std::int64_t>(output.stream().tellp());
  output.commit();
  if (!output.isFile()) return;
  fmt::print("{}: {}, {} bytes\n", options.output, form, size);
  finishOutput();
}

}  // namespace

std::string fileFormOf(const std::string& path) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored)) return {};
  std::ifstream stream(path, std::ios::binary);
  return stream.peek() == cpi::kImageFirstByte ? kImage : kExtract;
}

std::unique_ptr<cpi::StdDictionaryInfo> openDictionary(const std::string& path) {
  const Progress progress("reading " + path);
  return cpi::loadDictionary(path);
}

void addDictionary(CLI::App& verb, std::string& path) {
  verb.add_option("DICT", path, "Dictionary file")->required()->type_name("FILE");
}

void addDump(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("dump", "Print all tables of a dictionary");
  verb.footer(kDumpFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.callback([options, &exitCode] {
    runDump(*options);
    exitCode = kExitGood;
  });
}

void addConvert(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("convert", "Write a dictionary file in its other form");
  verb.footer(kConvertFooter);
  const auto options = std::make_shared<Options>();
  verb.add_option("IN", options->dictionary, "Dictionary file")->required()->type_name("FILE");
  verb.add_option("OUT", options->output, "The file to write")->required()->type_name("FILE");
  verb.add_option("--to", options->form, "The form of OUT; by default the one that IN has not")
      ->check(CLI::IsMember({kExtract, kImage}))
      ->type_name("FORM");
  verb.callback([options, &exitCode] {
    runConvert(*options);
    exitCode = kExitGood;
  });
}
