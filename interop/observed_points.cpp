#include "interop/observed_points.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "interop/peer_format.h"
#include "interop/syntax/fields.h"

namespace norv::interop {
namespace {

/// A value of a line, and where it stands.
struct Cell {
  std::string text;
  Place place;
};

using Cells = std::vector<Cell>;

constexpr std::size_t kCamera = 5;
constexpr std::array<const char*, 6> kColumns = {"x", "y", "z", "u", "v", "camera"};

constexpr int kMissing = -1;

/// Which cell of a line holds each of the columns.
struct Header {
  std::array<int, kColumns.size()> cell_of{};
  std::size_t count = 0;  ///< 0 before there is one

  bool has(std::size_t column) const { return cell_of[column] != kMissing; }
  const Cell& cell(std::size_t column, const Cells& cells) const {
    return cells[static_cast<std::size_t>(cell_of[column])];
  }
};

bool isBlank(char c) { return c == ' ' || c == '\t'; }

/// Takes a value in quotes from the beginning of `rest`, and what is blank after it.
std::string takeQuoted(std::string_view* rest, Place place) {
  std::string text;
  std::size_t at = 1;
  for (;; ++at) {
    if (at >= rest->size()) throw FormatError(place, "", "a quote is not closed in its line");
    if ((*rest)[at] != '"') {
      text += (*rest)[at];
    } else if (at + 1 < rest->size() && (*rest)[at + 1] == '"') {
      text += (*rest)[at++];
    } else {
      break;
    }
  }
  rest->remove_prefix(at + 1);
  while (!rest->empty() && isBlank(rest->front())) rest->remove_prefix(1);
  if (!rest->empty() && rest->front() != ',') {
    throw FormatError(place, "", "a value goes on after its closing quote");
  }
  return text;
}

/// Takes a value without quotes from the beginning of `rest`.
std::string takePlain(std::string_view* rest) {
  const std::size_t end = std::min(rest->find(','), rest->size());
  std::string text(rest->substr(0, end));
  while (!text.empty() && isBlank(text.back())) text.pop_back();
  rest->remove_prefix(end);
  return text;
}

Cells splitLine(std::string_view line, int number) {
  Cells cells;
  std::string_view rest = line;
  for (;;) {
    while (!rest.empty() && isBlank(rest.front())) rest.remove_prefix(1);
    const Place place = {number, static_cast<int>(line.size() - rest.size()) + 1};
    const bool is_quoted = !rest.empty() && rest.front() == '"';
    cells.push_back({is_quoted ? takeQuoted(&rest, place) : takePlain(&rest), place});
    if (rest.empty()) return cells;
    rest.remove_prefix(1);
  }
}

Header readHeader(const Cells& cells) {
  Header header;
  header.count = cells.size();
  header.cell_of.fill(kMissing);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const auto* const found = std::find(kColumns.begin(), kColumns.end(), cells[i].text);
    if (found == kColumns.end()) {
      throw FormatError(cells[i].place, cells[i].text,
                        "is none of the columns camera, x, y, z, u and v");
    }
    int& cell = header.cell_of[static_cast<std::size_t>(found - kColumns.begin())];
    if (cell != kMissing) {
      throw FormatError(cells[i].place, cells[i].text, "is the name of a column before");
    }
    cell = static_cast<int>(i);
  }
  for (std::size_t i = 0; i < kCamera; ++i) {
    if (!header.has(i)) {
      throw FormatError(cells[0].place, kColumns[i], "is missing among the columns");
    }
  }
  return header;
}

/// Makes points of the lines after the header.
class PointTable {
 public:
  PointTable(const std::vector<std::string>& cameras, double offset)
      : cameras_(cameras), offset_(offset), points_(cameras.size()) {}

  void take(const Cells& cells) {
    if (header_.count == 0) {
      header_ = readHeader(cells);
      if (!header_.has(kCamera) && cameras_.size() != 1) {
        throw FormatError(
            cells[0].place, "camera",
            fmt::format("is missing among the columns, and there are {} cameras", cameras_.size()));
      }
      return;
    }
    if (cells.size() != header_.count) {
      throw FormatError(cells[0].place, "",
                        fmt::format("has {} values where the header names {} columns", cells.size(),
                                    header_.count));
    }
    const auto number = [&](std::size_t column) {
      const Cell& cell = header_.cell(column, cells);
      return parseNumber(cell.text, cell.place, kColumns[column]);
    };
    ObservedPoint point;
    point.position = {number(0), number(1), number(2)};
    point.pixel = {number(3) + offset_, number(4) + offset_};
    points_[cameraOf(cells)].push_back(point);
  }

  std::vector<std::vector<ObservedPoint>> finish() {
    if (header_.count == 0) throw FormatError({}, "", "has no line that names its columns");
    return std::move(points_);
  }

 private:
  std::size_t cameraOf(const Cells& cells) const {
    if (!header_.has(kCamera)) return 0;
    const Cell& cell = header_.cell(kCamera, cells);
    const auto found = std::find(cameras_.begin(), cameras_.end(), cell.text);
    if (found == cameras_.end()) {
      throw FormatError(cell.place, "camera", "is no imported camera: " + cell.text);
    }
    return static_cast<std::size_t>(found - cameras_.begin());
  }

  const std::vector<std::string>& cameras_;
  double offset_;
  Header header_;
  std::vector<std::vector<ObservedPoint>> points_;
};

std::string_view withoutMark(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }
  return text;
}

/// Takes the first line off a text, and returns it without its end.
std::string_view takeLine(std::string_view* text) {
  const std::size_t end = std::min(text->find('\n'), text->size());
  std::string_view line = text->substr(0, end);
  text->remove_prefix(std::min(end + 1, text->size()));
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

}  // namespace

std::variant<std::vector<std::vector<ObservedPoint>>, FormatProblem> readObservedPoints(
    const SourceFile& file, const std::vector<std::string>& cameras,
    calibration::PixelOrigin origin) {
  PointTable table(cameras, cornerOffset(origin));
  std::string_view rest = withoutMark(file.contents);
  try {
    for (int number = 1; !rest.empty(); ++number) {
      const std::string_view line = takeLine(&rest);
      if (!std::all_of(line.begin(), line.end(), isBlank)) table.take(splitLine(line, number));
    }
    return table.finish();
  } catch (const FormatError& error) {
    FormatProblem problem = error.problem();
    problem.file = file.name;
    return problem;
  }
}

}  // namespace norv::interop
