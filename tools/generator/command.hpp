// The `generate` subcommand of the volp command line.
#pragma once

#include <CLI/CLI.hpp>

void AddGenerateCommand(CLI::App& app);
