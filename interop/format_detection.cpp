#include <array>
#include <string>

#include "interop/peer_format.h"

namespace norv::interop {
namespace {

using Text = std::string_view;

constexpr Text kByteOrderMark = "\xEF\xBB\xBF";
/// A look at more of a file than this tells no more.
constexpr std::size_t kGlance = 1 << 20;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isCapital(char c) { return c >= 'A' && c <= 'Z'; }

bool has(Text text, Text word) { return text.find(word) != Text::npos; }

Text withoutBlanks(Text text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return text;
}

/// The first line and what is left of the text after it.
Text takeLine(Text* text) {
  const std::size_t end = text->find('\n');
  const Text line = text->substr(0, end);
  text->remove_prefix(end == Text::npos ? text->size() : end + 1);
  return line;
}

/// The first word of a line, which it is left without.
Text takeWord(Text* line) {
  *line = withoutBlanks(*line);
  std::size_t end = 0;
  while (end < line->size() && !isBlank((*line)[end])) ++end;
  const Text word = line->substr(0, end);
  line->remove_prefix(end);
  return word;
}

bool isNumber(Text word) {
  for (const char c : word) {
    if (!isDigit(c) && c != '.' && c != '-' && c != '+' && c != 'e' && c != 'E') return false;
  }
  return !word.empty();
}

/// "3 FULL_OPENCV 1280 960 ...", of COLMAP's cameras.
bool isColmapCamera(Text line) {
  const Text id = takeWord(&line);
  const Text model = takeWord(&line);
  const Text width = takeWord(&line);
  if (id.empty() || model.empty() || !isCapital(model[0])) return false;
  return isNumber(id) && isNumber(width) && isNumber(takeWord(&line));
}

/// "1 qw qx qy qz tx ty tz 1 NAME", of COLMAP's images.
bool isColmapImage(Text line) {
  constexpr int kNumbersBeforeName = 9;
  for (int i = 0; i < kNumbersBeforeName; ++i) {
    if (!isNumber(takeWord(&line))) return false;
  }
  return !takeWord(&line).empty();
}

/// The first line that is neither empty nor a comment.
Text firstLine(Text text) {
  while (!text.empty()) {
    const Text line = withoutBlanks(takeLine(&text));
    if (!line.empty() && line[0] != '#') return line;
  }
  return {};
}

bool looksLikeColmap(Text text) {
  const Text line = firstLine(text);
  if (line.empty()) return has(text, "# Camera list") || has(text, "# Image list");
  return isColmapCamera(line) || isColmapImage(line);
}

/// Whether a line of the text begins with the word and a colon.
bool hasKey(Text text, Text key) {
  while (!text.empty()) {
    const Text line = takeLine(&text);
    if (line.substr(0, key.size()) == key && line.substr(key.size(), 1) == ":") return true;
  }
  return false;
}

/// "cam0:" and the like at the beginning of a line.
bool hasNumberedCamera(Text text) {
  while (!text.empty()) {
    Text line = takeLine(&text);
    if (line.substr(0, 3) != "cam") continue;
    line.remove_prefix(3);
    const bool has_number = !line.empty() && isDigit(line[0]);
    while (!line.empty() && isDigit(line[0])) line.remove_prefix(1);
    if (has_number && line.substr(0, 1) == ":") return true;
  }
  return false;
}

bool looksLikeMrcal(Text text) {
  return has(text, "LENSMODEL_") || has(text, "'distortion_model'") ||
         (has(text, "DISTORTION_") && has(text, "intrinsics"));
}

bool looksLikeOpenCv(Text text) {
  if (has(text, "opencv-matrix") || has(text, "opencv_storage") || text.substr(0, 5) == "%YAML") {
    return true;
  }
  constexpr std::array<Text, 4> kKeys = {"cameraMatrix", "K", "M1", "M2"};
  for (const Text key : kKeys) {
    if (hasKey(text, key) || has(text, "\"" + std::string(key) + "\"")) return true;
  }
  return text.substr(0, 1) == "{" && has(text, "\"camera_matrix\"");
}

bool looksLikeRosIni(Text text) {
  return has(text, "[image]") && has(text, "camera matrix") && has(text, "distortion");
}

bool looksLikeRos(Text text) {
  constexpr std::array<Text, 5> kKeys = {"image_width", "camera_matrix", "distortion_coefficients",
                                         "camera_name", "distortion_model"};
  for (const Text key : kKeys) {
    if (hasKey(text, key)) return true;
  }
  return looksLikeRosIni(text);
}

bool looksLikeBasalt(Text text) {
  return text.substr(0, 1) == "{" && (has(text, "\"T_imu_cam\"") || has(text, "\"camera_type\""));
}

}  // namespace

std::optional<PeerFormat> detectFormat(std::string_view contents) {
  Text text = contents.substr(0, kGlance);
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }
  text = withoutBlanks(text);
  if (looksLikeMrcal(text)) return PeerFormat::kMrcal;
  if (looksLikeBasalt(text)) return PeerFormat::kBasalt;
  if (looksLikeOpenCv(text)) return PeerFormat::kOpenCv;
  if (hasNumberedCamera(text)) return PeerFormat::kKalibr;
  if (looksLikeRos(text)) return PeerFormat::kRos;
  if (looksLikeColmap(text)) return PeerFormat::kColmap;
  return std::nullopt;
}

}  // namespace norv::interop
