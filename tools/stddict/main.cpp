// stddict: makes message dictionaries, answers questions about them, and walks messages along them.
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <new>

#include "tools/stddict/verbs.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict compile order.xsd -o order.json
  stddict info order.json
  stddict tree order.json order
  stddict walk order.json order.xml

`stddict VERB --help` tells more about a verb.
Exit code: 0 done; 1 nothing found, faults found, or a message that does not fit the model; 2 wrong
usage or a file that cannot be used.)";

// What the user asked for goes to stdout, everything else to stderr.
void logToStderr() {
  const bool isPlain = std::getenv("NO_COLOR") != nullptr;
  const auto mode = isPlain ? spdlog::color_mode::never : spdlog::color_mode::automatic;
  spdlog::set_default_logger(std::make_shared<spdlog::logger>(
      "stddict", std::make_shared<spdlog::sinks::stderr_color_sink_mt>(mode)));
  spdlog::set_pattern("%^%l%$: %v");
}

int run(int argc, char** argv) {
  CLI::App app("Makes message dictionaries, tells what is in them, and walks messages along them.",
               "stddict");
  app.set_version_flag("--version", "stddict " STDDI_VERSION);
  app.footer(kFooter);
  app.require_subcommand(1);
  int exitCode = kExitGood;
  addCompile(app, exitCode);
  addConvert(app, exitCode);
  addInfo(app, exitCode);
  addFind(app, exitCode);
  addTree(app, exitCode);
  addValues(app, exitCode);
  addPath(app, exitCode);
  addNext(app, exitCode);
  addCheck(app, exitCode);
  addDump(app, exitCode);
  addShell(app, exitCode);
  addWalk(app, exitCode);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitGood : kExitTrouble;
  }
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    logToStderr();
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    spdlog::error("out of memory");
  } catch (const std::exception& error) {
    spdlog::error("{}", error.what());
  }
  return kExitTrouble;
}
