#include "tools/usage/peer_options.h"

#include "tools/usage/value_options.h"

namespace norv::tools {
namespace {

using calibration::PixelOrigin;

std::optional<PixelOrigin> parseOrigin(const std::string& text) {
  if (text == "centre") return PixelOrigin::kPixelCentre;
  if (text == "corner") return PixelOrigin::kImageCorner;
  return std::nullopt;
}

}  // namespace

CLI::Option* addFormatOption(CLI::App* verb, std::optional<interop::PeerFormat>* format,
                             const std::string& description) {
  std::string names;
  for (const interop::PeerFormat known : interop::peerFormats()) {
    names += (names.empty() ? "" : "|") + std::string(interop::formatName(known));
  }
  return addParsed(verb, "--format", names, description, format,
                   [](const std::string& text) { return interop::formatOfName(text); });
}

CLI::Option* addOriginOption(CLI::App* verb, const std::string& name,
                             std::optional<PixelOrigin>* origin, const std::string& description) {
  return addParsed(verb, name, "centre|corner", description, origin, parseOrigin);
}

CLI::Option* addMaxErrorOption(CLI::App* verb, double* max_error, const std::string& what) {
  constexpr double kMost = 1e9;
  return addNumber(verb, "--max-error", "PX", what + ", pixels (default: 0.1)", 0, kMost,
                   "a number from 0 on", [max_error](double value) { *max_error = value; });
}

CLI::Option* addPoseOption(CLI::App* verb, const std::string& name,
                           std::optional<PoseNumbers>* pose, const std::string& description) {
  return verb
      ->add_option_function<std::string>(
          name, [pose](const std::string& text) { *pose = parsePose(text); }, description)
      ->type_name("POSE")
      ->check([](const std::string& text) {
        return parsePose(text) ? std::string()
                               : "not 12 numbers, the top three rows of a pose, in quotes: " + text;
      });
}

}  // namespace norv::tools
