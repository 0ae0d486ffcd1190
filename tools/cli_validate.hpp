// `volp validate FILE...`: runs the validator on each declaration file, writes
// its reports and prints a summary for a person at a terminal.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>

#include "cli_summary.hpp"
#include "volp/validator.hpp"

namespace volp::cli {

// Exit statuses of `volp validate`.
inline constexpr int kExitValid = 0;
inline constexpr int kExitErrors = 1;
inline constexpr int kExitNotDone = 2;

// Where the municipality table RELATORIO_DTB_BRASIL_MUNICIPIO.csv was found.
enum class TableSource { kOption, kCurrentDirectory, kInstalled, kSourceTree, kNotFound };

struct TableChoice {
  std::string dir;  // what goes into Options::tables_dir
  TableSource source = TableSource::kNotFound;
};

// --tables DIR wins when given; otherwise the current directory (as the
// library itself looks), then the installed data directory, then the source
// tree's data directory (so a build tree works without installing).
TableChoice FindTables(const std::string& option_dir, const std::string& installed_dir,
                       const std::string& source_dir);

// The exit status for a finished call: 2 when the run could not be done (or
// was cancelled before its end), 1 when it counted errors, 0 otherwise.
int ExitStatus(const Result& result);

// Adds the "validate" subcommand; when it runs, `*exit_code` receives its status.
void AddValidateCommand(CLI::App& app, int* exit_code);

}  // namespace volp::cli
