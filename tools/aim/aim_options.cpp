#include "tools/aim/aim_options.h"

namespace norv::tools {
namespace {

bool asksForZoom(const SearchOptions& search) { return search.fill || search.fov || search.focal; }

std::string findMisuseOfTargets(const AimOptions& options) {
  const SearchOptions& search = options.search;
  const bool from_picture = aimsAtPixel(options) || search.box;
  if (from_picture && !search.distance) {
    return std::string(search.box ? "--box" : "--pixel") +
           " needs --distance with these options: how far away it is what one sees there";
  }
  if (search.distance && !from_picture) {
    return "--distance goes with --box, or with --pixel alone: a point says by itself where it is";
  }
  if (search.radius && search.points.size() != 1 && !options.track) {
    return "--radius goes with one --point, or with --track: it makes spheres around points";
  }
  return "";
}

}  // namespace

bool isSearch(const AimOptions& options) {
  const SearchOptions& search = options.search;
  return search.distance || search.radius || asksForZoom(search) || search.place || search.choice ||
         search.strict || search.all || options.track || search.points.size() > 1;
}

std::string findMisuse(const AimOptions& options) {
  if (!isSearch(options)) return "";
  if (options.track == "-" && options.path == "-") {
    return "CALIBRATION and --track cannot both be standard input";
  }
  std::string misuse = findMisuseOfTargets(options);
  if (!misuse.empty()) return misuse;
  const SearchOptions& search = options.search;
  const bool has_size = search.box || search.radius || search.points.size() > 1;
  if (search.fill && !has_size) {
    return "--fill needs a target that has a size: --box, several --point or --radius";
  }
  if (search.place && search.pixel && !aimsAtPixel(options)) {
    return "--place and --pixel both say where in the picture the target is wanted";
  }
  return "";
}

}  // namespace norv::tools
