// Import of 10,000 cameras from other programs' files, beside the bare parse of the same texts.

#include <benchmark/benchmark.h>
#include <tinyxml2.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/parser.h>

#include <cstddef>
#include <random>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "interop/calibration_import.h"
#include "interop/syntax/literal.h"
#include "testing/peer_accuracy.h"

namespace norv::benchmarks {
namespace {

using interop::SourceFile;

/// Takes what the parser tells, and leaves it.
class Nobody : public YAML::EventHandler {
 public:
  void OnDocumentStart(const YAML::Mark& /*mark*/) override {}
  void OnDocumentEnd() override {}
  void OnNull(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override {}
  void OnAlias(const YAML::Mark& /*mark*/, YAML::anchor_t /*anchor*/) override {}
  void OnScalar(const YAML::Mark& /*mark*/, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                const std::string& /*value*/) override {}
  void OnSequenceStart(const YAML::Mark& /*mark*/, const std::string& /*tag*/,
                       YAML::anchor_t /*anchor*/, YAML::EmitterStyle::value /*style*/) override {}
  void OnSequenceEnd() override {}
  void OnMapStart(const YAML::Mark& /*mark*/, const std::string& /*tag*/, YAML::anchor_t /*anchor*/,
                  YAML::EmitterStyle::value /*style*/) override {}
  void OnMapEnd() override {}
};

void parseYaml(const std::string& text) {
  std::istringstream stream(text);
  YAML::Parser parser(stream);
  Nobody nobody;
  benchmark::DoNotOptimize(parser.HandleNextDocument(nobody));
}

void parseXml(const std::string& text) {
  tinyxml2::XMLDocument document;
  benchmark::DoNotOptimize(document.Parse(text.data(), text.size()));
}

void parseLiteral(const std::string& text) {
  benchmark::DoNotOptimize(interop::parseLiteral(text));
}

/// The words of a text of words, which is parsed by nothing else.
void readWords(const std::string& text) {
  std::istringstream stream(text);
  std::string word;
  while (stream >> word) benchmark::DoNotOptimize(word.data());
}

/// 10 of one kind after another, by turns of the lenses that the format has.
std::vector<SourceFile> filesOf(const std::string& name, std::int64_t cameras) {
  for (const testing::PeerWay& way : testing::peerWays()) {
    if (way.name != name) continue;
    std::mt19937 random(1);
    std::vector<testing::FileCamera> all;
    for (std::int64_t i = 0; i < cameras; ++i) {
      const auto lens = static_cast<std::size_t>(i) % way.coefficients.size();
      all.push_back(testing::randomFileCamera(way.coefficients[lens], &random));
    }
    return way.write(all);
  }
  return {};
}

void importFiles(benchmark::State& state, const std::string& name) {
  const std::vector<SourceFile> files = filesOf(name, state.range(0));
  interop::ImportOptions options;
  options.parent_is_robot = true;
  options.reading.metres_per_unit = 1;
  for (auto _ : state) {
    const auto outcome = interop::importCameras(files, options);
    if (std::holds_alternative<interop::FormatProblem>(outcome)) {
      state.SkipWithError("the files are refused");
    }
  }
}

void parseAlone(benchmark::State& state, const std::string& name,
                void (*parse)(const std::string&)) {
  const std::vector<SourceFile> files = filesOf(name, state.range(0));
  for (auto _ : state) {
    for (const SourceFile& file : files) parse(file.contents);
  }
}

void sizes(benchmark::internal::Benchmark* bench) {
  for (const int cameras : {1000, 10000}) bench->Arg(cameras);
  bench->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(importFiles, ros, "ROS, YAML")->Apply(sizes);
BENCHMARK_CAPTURE(parseAlone, ros, "ROS, YAML", parseYaml)->Apply(sizes);
BENCHMARK_CAPTURE(importFiles, rosIni, "ROS, INI")->Apply(sizes);
BENCHMARK_CAPTURE(parseAlone, rosIni, "ROS, INI", readWords)->Apply(sizes);
BENCHMARK_CAPTURE(importFiles, kalibr, "Kalibr")->Apply(sizes);
BENCHMARK_CAPTURE(parseAlone, kalibr, "Kalibr", parseYaml)->Apply(sizes);
BENCHMARK_CAPTURE(importFiles, openCv, "OpenCV, YAML")->Apply(sizes);
BENCHMARK_CAPTURE(parseAlone, openCv, "OpenCV, YAML", parseYaml)->Apply(sizes);
BENCHMARK_CAPTURE(importFiles, openCvXml, "OpenCV, XML")->Apply(sizes);
BENCHMARK_CAPTURE(parseAlone, openCvXml, "OpenCV, XML", parseXml)->Apply(sizes);
BENCHMARK_CAPTURE(importFiles, openCvJson, "OpenCV, JSON")->Apply(sizes);
BENCHMARK_CAPTURE(parseAlone, openCvJson, "OpenCV, JSON", parseYaml)->Apply(sizes);
BENCHMARK_CAPTURE(importFiles, mrcal, "mrcal")->Apply(sizes);
BENCHMARK_CAPTURE(parseAlone, mrcal, "mrcal", parseLiteral)->Apply(sizes);
BENCHMARK_CAPTURE(importFiles, colmap, "COLMAP")->Apply(sizes);
BENCHMARK_CAPTURE(parseAlone, colmap, "COLMAP", readWords)->Apply(sizes);
BENCHMARK_CAPTURE(importFiles, basalt, "basalt")->Apply(sizes);
BENCHMARK_CAPTURE(parseAlone, basalt, "basalt", parseYaml)->Apply(sizes);

}  // namespace
}  // namespace norv::benchmarks
