#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/input/image_size.h"

namespace norv::tools {

/// Adds the option --camera, which sets `*camera`, to a verb.
inline void addCameraOption(CLI::App* verb, std::optional<std::string>* camera,
                            const std::string& description) {
  verb->add_option("--camera", *camera, description)
      ->type_name("NAME")
      ->check([](const std::string& name) {
        return name.empty() ? std::string("the name of a camera is empty") : std::string();
      });
}

/// Adds an option of that name, whose value is an image size with sides of at most `max_side`, to a
/// verb.
inline CLI::Option* addImageSize(CLI::App* verb, const std::string& name,
                                 std::optional<ImageSize>* size, const std::string& description,
                                 int max_side = kMaxImageSide) {
  return verb
      ->add_option_function<std::string>(
          name, [size](const std::string& text) { *size = parseImageSize(text); }, description)
      ->type_name("WxH")
      ->check([max_side](const std::string& text) {
        return parseImageSize(text, max_side)
                   ? std::string()
                   : fmt::format("not a size such as 640x480, each side at most {}: {}", max_side,
                                 text);
      });
}

/// Adds the option --size, which sets `*size`, to a verb. `what` begins its description.
inline void addSizeOption(CLI::App* verb, std::optional<ImageSize>* size, const std::string& what) {
  addImageSize(verb, "--size", size,
               what +
                   " this image size only, in pixels; scaled from the full frame if it is not in "
                   "the table");
}

}  // namespace norv::tools
