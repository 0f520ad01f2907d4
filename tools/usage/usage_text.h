#pragma once

/// What the program says about its own use.

#include <CLI/CLI.hpp>
#include <cstddef>
#include <string>

namespace norv::tools {

/// What is wrong with a command line, in one sentence or two: which word is no verb or option and
/// which was probably meant, or else what CLI11 says. `app` is the one that threw `error`.
std::string explainUsage(const CLI::App& app, const CLI::ParseError& error);

/// CLI11's help with its lines broken at blanks, so that none is longer than `width` unless a
/// single word is; descriptions of options and verbs stay in their column.
std::string wrapHelp(const std::string& help, std::size_t width);

/// Columns of the user's terminal as the shell states them in COLUMNS, between 60 and 500; 80 where
/// it does not.
std::size_t terminalWidth();

}  // namespace norv::tools
