// camera-parameters: looks into calibration files from the command line.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>

#include "tools/adjust/adjust_command.h"
#include "tools/aim/aim_command.h"
#include "tools/show/show_command.h"
#include "tools/tool_error.h"

namespace {

constexpr int kBadInput = 1;
constexpr int kBadUsage = 2;

int fail(const std::string& message) {
  std::cerr << "camera-parameters: " << message << '\n';
  return kBadInput;
}

/// Prints a command's whole answer, or nothing of it.
int print(const std::string& text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  return written && std::fflush(stdout) == 0 ? 0 : fail("cannot write to standard output");
}

int run(int argc, char** argv) {
  CLI::App app("Looks into the calibration of a robot's cameras and works with it.",
               "camera-parameters");
  app.set_version_flag("--version", CAMERA_PARAMETERS_VERSION);
  app.require_subcommand(1);
  norv::tools::ShowOptions show;
  norv::tools::AimOptions aim;
  norv::tools::AdjustOptions adjust;
  const CLI::App* show_verb = norv::tools::addShowCommand(&app, &show);
  const CLI::App* aim_verb = norv::tools::addAimCommand(&app, &aim);
  norv::tools::addAdjustCommand(&app, &adjust);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kBadUsage;
  }
  if (show_verb->parsed()) return print(norv::tools::runShowCommand(show));
  if (aim_verb->parsed()) return print(norv::tools::runAimCommand(aim));
  return print(norv::tools::runAdjustCommand(adjust));
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}
