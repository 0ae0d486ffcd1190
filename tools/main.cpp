// volp: the command line of the VOLP declaration validator.
//   volp validate FILE   check a declaration file and write its report
//   volp generate ...    write realistic declaration files (tests, benchmarks)
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>

#include "cli_validate.hpp"
#include "generator/command.hpp"

#ifndef VOLP_VERSION_TEXT
#define VOLP_VERSION_TEXT "dev"
#endif

int main(int argc, char** argv) {
  CLI::App app{
      "volp " VOLP_VERSION_TEXT
      " - validator of VOLP declaration files (ISO 8859-1 text, one \"|\"-delimited record per "
      "CR LF line)",
      "volp"};
  app.set_version_flag("--version", "volp " VOLP_VERSION_TEXT);
  app.require_subcommand(1);
  // Options start with "-" or "--" on every platform. On Windows the parser
  // would also take "/x" for an option, and so a file's path from the root
  // of the drive ("/dados/decl.txt") for an unknown switch. Set before the
  // subcommands are added: they copy it from here.
  app.allow_windows_style_options(false);

  int exit_code = 0;
  volp::cli::AddValidateCommand(app, &exit_code);
  AddGenerateCommand(app);
  // Set after the subcommands, which would otherwise inherit it.
  app.footer(
      "Run \"volp validate --help\" for what is checked, the report, the exit status and how to "
      "stop a run.\nExit status of validate: 0 valid, 1 errors found, 2 the run could not be "
      "done.");

  try {
    app.parse(argc, argv);
  } catch (const CLI::RuntimeError& e) {
    // A subcommand that ends with its own status (and, unless it already
    // said why, its own message).
    const char* why = e.what();
    if (std::strcmp(why, "Runtime error") != 0 && why[0] != '\0') {
      std::fprintf(stderr, std::strncmp(why, "volp", 4) == 0 ? "%s\n" : "volp: %s\n", why);
    }
    return e.get_exit_code();
  } catch (const CLI::ParseError& e) {
    // --help and --version end with 0; wrong arguments are status 2, like a
    // run that could not be done.
    return app.exit(e) == 0 ? 0 : volp::cli::kExitNotDone;
  }
  return exit_code;
}
