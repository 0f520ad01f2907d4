#pragma once

/// Options whose values are not what CLI11 reads by itself.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/input/number_list.h"

namespace norv::tools {

/// Adds an option whose value is what `parse` makes of a text, an optional that `set` gets; the
/// text is refused where that is none.
template <class Parse, class Set>
CLI::Option* addParsedInto(CLI::App* app, const std::string& name, const std::string& type,
                           const std::string& description, const Parse& parse, const Set& set) {
  return app
      ->add_option_function<std::string>(
          name, [parse, set](const std::string& text) { set(*parse(text)); }, description)
      ->type_name(type)
      ->check([parse, type](const std::string& text) {
        const bool is_choice = type.find('|') != std::string::npos;
        return parse(text)
                   ? std::string()
                   : fmt::format("not {} {}: {}", is_choice ? "one of" : "of the form", type, text);
      });
}

/// The same with the value in `*value`.
template <class Value, class Parse>
CLI::Option* addParsed(CLI::App* app, const std::string& name, const std::string& type,
                       const std::string& description, Value* value, const Parse& parse) {
  return addParsedInto(app, name, type, description, parse,
                       [value](const auto& parsed) { *value = parsed; });
}

/// Adds an option whose value is a number from `low` to `high`; `set` gets it.
template <class Set>
CLI::Option* addNumber(CLI::App* app, const std::string& name, const std::string& type,
                       const std::string& description, double low, double high,
                       const std::string& expected, const Set& set) {
  return app
      ->add_option_function<std::string>(
          name, [set](const std::string& text) { set(*parseNumber(text)); }, description)
      ->type_name(type)
      ->check([low, high, expected](const std::string& text) {
        const std::optional<double> number = parseNumber(text);
        const bool is_in_range = number && *number >= low && *number <= high;
        return is_in_range ? std::string() : fmt::format("not {}: {}", expected, text);
      });
}

}  // namespace norv::tools
