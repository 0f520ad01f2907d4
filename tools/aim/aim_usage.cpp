#include "tools/aim/aim_usage.h"

#include <limits>

#include "tools/usage/file_name.h"
#include "tools/usage/value_options.h"

namespace norv::tools {
namespace {

using calibration::AimChoice;
using calibration::AimPlace;

constexpr const char* kSearchGroup = "At a distance, within the range of the motors, with any head";
constexpr double kLeast = std::numeric_limits<double>::min();
constexpr double kNearlyHalfTurn = 179.999;  // degrees
constexpr auto kMost = static_cast<double>(std::numeric_limits<float>::max());

/// Numbers of single precision's range in both precisions, the fixed operations' and the other's.
template <std::size_t N>
struct Numbers {
  std::array<float, N> narrow;
  std::array<double, N> wide;
};

template <std::size_t N>
std::optional<Numbers<N>> parseBoth(const std::string& text) {
  const auto narrow = parseNumbers<N>(text);
  const auto wide = parseDoubles<N>(text);
  if (!narrow || !wide) return std::nullopt;
  return Numbers<N>{*narrow, *wide};
}

std::optional<AimPlace> parsePlace(const std::string& text) {
  if (text == "middle") return AimPlace::kImageMiddle;
  if (text == "axis") return AimPlace::kPrincipalPoint;
  return std::nullopt;
}

std::optional<AimChoice> parseChoice(const std::string& text) {
  if (text == "nearest") return AimChoice::kNearest;
  if (text == "upright") return AimChoice::kUpright;
  if (text == "no-flip") return AimChoice::kNoFlip;
  return std::nullopt;
}

/// May be given more than once.
CLI::Option* addPoint(CLI::App* aim, AimOptions* options) {
  return aim
      ->add_option_function<std::vector<std::string>>(
          "--point",
          [options](const std::vector<std::string>& texts) {
            options->request.point = parseNumbers<3>(texts.front());
            options->search.points.clear();
            for (const std::string& text : texts) {
              options->search.points.push_back(*parseDoubles<3>(text));
            }
          },
          "Centre this world point, metres; given more than once, the middle of what the points "
          "cover")
      ->type_name("X,Y,Z")
      ->allow_extra_args(false)
      ->check([](const std::string& text) {
        return parseBoth<3>(text) ? std::string() : "not of the form X,Y,Z: " + text;
      });
}

void addTargets(CLI::App* aim, AimOptions* options) {
  CLI::Option* pixel = addParsedInto(
      aim, "--pixel", "X,Y",
      "Centre what this pixel shows 1 m away; with --distance, what it shows there; with --point, "
      "bring the point there",
      parseBoth<2>, [options](const Numbers<2>& numbers) {
        options->request.pixel = numbers.narrow;
        options->search.pixel = numbers.wide;
      });
  CLI::Option* box =
      addParsedInto(aim, "--box", "X1,Y1,X2,Y2",
                    "Frame the box with these corners, pixels. Without --distance, what is centred "
                    "lies where the "
                    "unit rays of the two, added up, end: about 2 m away, less for a wide box",
                    parseBoth<4>, [options](const Numbers<4>& numbers) {
                      options->request.box = numbers.narrow;
                      options->search.box = numbers.wide;
                    });
  CLI::Option* point = addPoint(aim, options);
  CLI::Option* track =
      aim->add_option("--track", options->track,
                      "Aim at the points of this file or, as -, of standard input, one after the "
                      "other: a line X,Y,Z or TIME,X,Y,Z each, commas or blanks between, # for "
                      "comments. Each is answered by a line at once, from the position of the last")
          ->type_name("FILE")
          ->group(kSearchGroup);
  requireFileName(track)->excludes(point)->excludes(box);
  point->excludes(box);
  box->excludes(pixel);
}

void addZoom(CLI::App* aim, SearchOptions* search) {
  CLI::Option* fill = addNumber(
      aim, "--fill", "SHARE",
      "Zoom until the box, the points or the sphere take up this share of the picture (for a box "
      "1 is the default; otherwise the zoom stays)",
      kLeast, 1, "a number above 0, at most 1", [search](double value) { search->fill = value; });
  CLI::Option* fov = addNumber(aim, "--fov", "DEGREES", "Zoom until the picture is so wide", kLeast,
                               kNearlyHalfTurn, "an angle between 0 and 180",
                               [search](double value) { search->fov = value; });
  CLI::Option* focal =
      addNumber(aim, "--focal", "PIXELS", "Zoom until the focal length is this", kLeast, kMost,
                "a positive number", [search](double value) { search->focal = value; });
  fov->excludes(fill)->excludes(focal);
  fill->excludes(focal);
  for (CLI::Option* option : {fill, fov, focal}) option->group(kSearchGroup);
}

void addPlaceAndChoice(CLI::App* aim, SearchOptions* search) {
  addParsed(aim, "--place", "middle|axis",
            "Where in the picture the target is wanted: in its middle, or on the optical axis "
            "(default: middle)",
            &search->place, parsePlace)
      ->group(kSearchGroup);
  addParsed(aim, "--choice", "nearest|upright|no-flip",
            "Which of several positions to take: the one reached first, the one whose picture is "
            "most upright, or the first whose picture is upright if it is now, and upside down if "
            "it is that now (no-flip). Where there is no such position another one is taken, "
            "which the answer says (default: nearest)",
            &search->choice, parseChoice)
      ->group(kSearchGroup);
}

void addDistances(CLI::App* aim, SearchOptions* search) {
  addNumber(aim, "--distance", "METRES", "How far from the camera what --pixel or --box shows is",
            kLeast, kMost, "a positive number",
            [search](double value) { search->distance = value; })
      ->group(kSearchGroup);
  addNumber(aim, "--radius", "METRES",
            "A sphere of this radius around the one --point, or around those of --track", kLeast,
            kMost, "a positive number", [search](double value) { search->radius = value; })
      ->group(kSearchGroup);
}

void addAnswers(CLI::App* aim, SearchOptions* search) {
  CLI::Option* strict =
      aim->add_flag("--strict", search->strict,
                    "Exit with 3 also where the range of a motor, the zoom's too, limits the "
                    "answer, or the target is missed by more than --tolerance");
  addNumber(aim, "--tolerance", "PX",
            "How far from its place the target may land (default: as far as a step of pan and one "
            "of tilt together move it, but 1 at least)",
            0, kMost, "a number from 0 on", [search](double value) { search->tolerance = value; })
      ->needs(strict)
      ->group(kSearchGroup);
  CLI::Option* all = aim->add_flag("--all", search->all, "Print every position, the best first");
  all->excludes(aim->get_option("--track"));
  for (CLI::Option* option : {strict, all}) option->group(kSearchGroup);
}

constexpr const char* kFooter =
    "Any option of the second group, or several --point, have the position searched among whole "
    "steps within the range of the motors and of the lens, the short way round; --pixel alone and "
    "--box then need --distance. Without any of these, the target goes to the optical axis, not to "
    "the middle of the picture, and the answer is that of the library's fixed operations.\n"
    "Exits with 3, and prints what it found and why, when what was asked for is out of reach: no "
    "solution, a target that is behind the camera, far outside of the picture or kept from its "
    "place by more than a pixel (with the second group, more than --tolerance) by the limits of "
    "the motors, points, a box or a sphere that are not seen as a whole, a box that no zoom shows "
    "as a whole, or a zoom that a box leads to, without a lens there. With --track only --strict "
    "makes it 3; it is 1 where a line is no target.\n"
    "Where --at lies beyond the range of a motor a note says so, and the exit status is what it "
    "would be without. Where it has a zoom without a lens the exit status is 1; with the second "
    "group it is 3 for --pixel and --box, which need that lens, and the rest is answered.";

/// Throws what CLI11 reports as a wrong command line.
void requireSense(const AimOptions& options) {
  const SearchOptions& search = options.search;
  if (!search.pixel && !search.box && search.points.empty() && !options.track) {
    throw CLI::RequiredError("One of --pixel, --box, --point and --track");
  }
  const std::string misuse = findMisuse(options);
  if (!misuse.empty()) throw CLI::ValidationError(misuse);
}

}  // namespace

CLI::App* addAimCommand(CLI::App* app, AimOptions* options) {
  CLI::App* aim = app->add_subcommand(
      "aim",
      "Pan, tilt and zoom that put a pixel, a box or a world point in the middle of the picture");
  requireFileName(aim->add_option("CALIBRATION", options->path,
                                  "Calibration of a pan-tilt-zoom camera, binary or text"))
      ->required();
  addParsed(aim, "--at", "PAN,TILT,ZOOM", "Where the motors are now, steps", &options->request.at,
            parseIntegers<3>)
      ->required();
  addTargets(aim, options);
  addDistances(aim, &options->search);
  addZoom(aim, &options->search);
  addPlaceAndChoice(aim, &options->search);
  addAnswers(aim, &options->search);
  aim->add_flag("--json", options->json, "Print JSON for programs");
  aim->footer(kFooter);
  aim->callback([options] { requireSense(*options); });
  return aim;
}

}  // namespace norv::tools
