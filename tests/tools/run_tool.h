#pragma once

/// Running of the command-line tool, whose path the build defines, in an environment that does not
/// depend on who runs the tests.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "testing/run_program.h"

namespace norv::testing {

/// The shell's words that run the tool: the log at its default, no locale, no width of a terminal
/// and no home of its caller's. `environment` adds to that: "NORV_LOG=info".
inline std::string toolCommand(const std::string& environment = "") {
  return "env -u NORV_LOG -u LANG -u LANGUAGE -u COLUMNS LC_ALL=C HOME=/nonexistent " +
         environment + " '" CAMERA_PARAMETERS_TOOL "' ";
}

inline ProgramResult runTool(const std::string& arguments, const std::string& environment = "") {
  return runProgram(toolCommand(environment) + arguments);
}

/// Runs the tool where it must succeed, and returns what it prints.
inline std::string toolOutput(const std::string& arguments) {
  const ProgramResult result = runTool(arguments);
  EXPECT_EQ(result.status, 0) << arguments;
  EXPECT_EQ(result.errors, "") << arguments;
  return result.output;
}

/// Runs the tool where it must say that what was asked for is out of reach, and returns what it
/// prints.
inline std::string toolRefusal(const std::string& arguments) {
  const ProgramResult result = runTool(arguments);
  EXPECT_EQ(result.status, 3) << arguments;
  EXPECT_EQ(result.errors, "") << arguments;
  return result.output;
}

inline nlohmann::json toolRefusalJson(const std::string& arguments) {
  return nlohmann::json::parse(toolRefusal(arguments + " --json"), nullptr, false);
}

inline nlohmann::json toolJson(const std::string& arguments) {
  return nlohmann::json::parse(toolOutput(arguments + " --json"), nullptr, false);
}

/// Expects that the input is refused with this line and nothing else.
inline void expectToolRefuses(const std::string& arguments, const std::string& reason) {
  const ProgramResult result = runTool(arguments);
  EXPECT_EQ(result.status, 1) << arguments;
  EXPECT_EQ(result.output, "") << arguments;
  EXPECT_EQ(result.errors, "camera-parameters: " + reason + "\n");
}

/// Expects that no line is wider than a terminal that nobody has made wider.
inline void expectFitsTerminal(const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
}

/// Expects that the command line is refused with this line and a hint where there is help, which is
/// the verb's where one is given.
inline void expectUsage(const std::string& arguments, const std::string& line,
                        const std::string& verb) {
  const ProgramResult result = runTool(arguments);
  EXPECT_EQ(result.status, 2) << arguments;
  EXPECT_EQ(result.output, "") << arguments;
  EXPECT_EQ(result.errors, "camera-parameters: " + line + "\nRun camera-parameters" +
                               (verb.empty() ? "" : " " + verb) + " --help for more information.\n")
      << arguments;
}

/// Expects that the command line is refused.
inline void expectBadUsage(const std::string& arguments) {
  const ProgramResult result = runTool(arguments);
  EXPECT_EQ(result.status, 2) << arguments;
  EXPECT_EQ(result.output, "") << arguments;
  EXPECT_NE(result.errors, "") << arguments;
}

}  // namespace norv::testing
