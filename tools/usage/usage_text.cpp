#include "tools/usage/usage_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <vector>

#include "tools/output/wrapping.h"
#include "tools/usage/nearest_word.h"

namespace norv::tools {
namespace {

/// Column at which CLI11 begins descriptions.
constexpr std::size_t kDescriptionColumn = 30;

std::vector<std::string> verbsOf(const CLI::App& app) {
  std::vector<std::string> verbs;
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App* /*any*/) { return true; })) {
    verbs.push_back(verb->get_name());
  }
  return verbs;
}

std::string askFor(const std::string& meant) {
  return meant.empty() ? "" : fmt::format(". Did you mean {}?", meant);
}

/// `problem`, the verbs there are, and the one that was probably meant by `word`.
std::string explainVerb(const CLI::App& app, const std::string& problem, const std::string& word) {
  std::vector<std::string> words = verbsOf(app);
  const std::string verbs = fmt::format("{}", fmt::join(words, ", "));
  words.emplace_back("help");
  return fmt::format("{}; there are {}{}", problem, verbs, askFor(nearestWord(word, words)));
}

std::string explainOption(const CLI::App& app, const CLI::App* verb, const std::string& word) {
  std::vector<std::string> known;
  for (const CLI::App* owner : {&app, verb}) {
    if (owner == nullptr) continue;
    for (const CLI::Option* option : owner->get_options()) {
      for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
    }
  }
  const std::string name = word.substr(0, word.find('='));
  const std::string letters = name.substr(std::min(name.find_first_not_of('-'), name.size()));
  return fmt::format("{} option {}{}", verb == nullptr ? "no" : verb->get_name() + " has no", name,
                     askFor(nearestWord("--" + letters, known)));
}

/// "" when all words of the command line are known.
std::string explainRest(const CLI::App& app, const CLI::App* verb) {
  const std::vector<std::string> rest = app.remaining(true);
  if (rest.empty()) return verb == nullptr ? explainVerb(app, "a verb is needed", "") : "";
  const std::string& word = rest.front();
  if (word.size() > 1 && word[0] == '-') return explainOption(app, verb, word);
  if (verb == nullptr) return explainVerb(app, fmt::format("no verb \"{}\"", word), word);
  return fmt::format("{} takes no further argument: \"{}\"", verb->get_name(), word);
}

/// Adds `line`, broken so that it fits, to `text`.
void addWrapped(std::string line, std::size_t width, std::string* text) {
  const std::size_t indent = line.compare(0, 2, "  ") == 0 ? kDescriptionColumn : 0;
  while (line.size() > width) {
    std::size_t blank = line.rfind(' ', width);
    if (blank == std::string::npos || blank <= indent) blank = line.find(' ', width);
    if (blank == std::string::npos) break;
    *text += line.substr(0, blank) + "\n";
    line = std::string(indent, ' ') + line.substr(blank + 1);
  }
  *text += line + "\n";
}

}  // namespace

std::string explainUsage(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<CLI::App*> verbs = app.get_subcommands();
  const CLI::App* const verb = verbs.empty() ? nullptr : verbs.front();
  const auto code = static_cast<CLI::ExitCodes>(error.get_exit_code());
  if (code == CLI::ExitCodes::RequiredError || code == CLI::ExitCodes::ExtrasError) {
    std::string rest = explainRest(app, verb);
    if (!rest.empty()) return rest;
  }
  return error.what();
}

std::string wrapHelp(const std::string& help, std::size_t width) {
  std::string text;
  std::istringstream lines(help);
  for (std::string line; std::getline(lines, line);) {
    line.erase(line.find_last_not_of(' ') + 1);
    addWrapped(line, width, &text);
  }
  return text;
}

std::size_t terminalWidth() {
  const char* const columns = std::getenv("COLUMNS");
  if (columns == nullptr) return kLineWidth;
  std::size_t width = 0;
  const char* const end = columns + std::strlen(columns);
  const auto [stop, error] = std::from_chars(columns, end, width);
  if (error != std::errc() || stop != end || width == 0) return kLineWidth;
  return std::clamp<std::size_t>(width, 60, 500);
}

}  // namespace norv::tools
