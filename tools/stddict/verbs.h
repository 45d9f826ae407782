// The verbs of the tool. Each adds its subcommand, with its options and help, and sets `exitCode`
// when it runs. What a verb throws is reported by main.
#ifndef TOOLS_STDDICT_VERBS_H
#define TOOLS_STDDICT_VERBS_H

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

// What the tool tells its caller.
inline constexpr int kExitGood = 0;     // done
inline constexpr int kExitNo = 1;       // nothing found, faults found, elements without a place
inline constexpr int kExitTrouble = 2;  // wrong usage, or a file that cannot be read or written

void addCheck(CLI::App& app, int& exitCode);
void addCompile(CLI::App& app, int& exitCode);
void addConvert(CLI::App& app, int& exitCode);
void addDump(CLI::App& app, int& exitCode);
void addFind(CLI::App& app, int& exitCode);
void addInfo(CLI::App& app, int& exitCode);
void addNext(CLI::App& app, int& exitCode);
void addPath(CLI::App& app, int& exitCode);
void addShell(CLI::App& app, int& exitCode);
void addTree(CLI::App& app, int& exitCode);
void addValues(CLI::App& app, int& exitCode);
void addWalk(CLI::App& app, int& exitCode);

// The dictionary in a file of any form, with a progress bar. Throws FileError.
std::unique_ptr<cpi::StdDictionaryInfo> openDictionary(const std::string& path);

// The argument that all verbs on a dictionary begin with.
void addDictionary(CLI::App& verb, std::string& path);

#endif  // TOOLS_STDDICT_VERBS_H
